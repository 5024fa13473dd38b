// The sample loops behind audio_mix.h, included once per instruction set by audio_mix.cpp and
// audio_mix_avx2.cpp with KVP_MIX_NAMESPACE naming the copy. Four samples at a time in GCC vector
// types (two SSE2 registers or one AVX2 register), the rest one at a time with the same operations
// in the same order, so every copy and every block length gives the same bits. Nothing here may
// include a header with inline functions: they would be built for this copy's instruction set.
#include "engine/audio_mix.h"

namespace KVP_MIX_NAMESPACE {
namespace {

typedef double Vec __attribute__((vector_size(32)));
typedef long long VecBits __attribute__((vector_size(32)));
constexpr int VEC = 4;

inline Vec load(const double* p) {
    Vec v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}
inline void store(double* p, Vec v) { __builtin_memcpy(p, &v, sizeof v); }
inline Vec splat(double x) { return Vec{x, x, x, x}; }
inline Vec magnitude(Vec v) { return Vec(VecBits(v) & ~(VecBits{} + (1ll << 63))); }
// The larger of the two; a NaN in `candidate` never wins, and no NaN ever reaches `peak`.
inline Vec larger(Vec candidate, Vec peak) { return candidate > peak ? candidate : peak; }
inline double larger(double candidate, double peak) { return candidate > peak ? candidate : peak; }

double reduce(Vec peak) {
    double m = 0.0;
    for (int j = 0; j < VEC; j++) m = larger(peak[j], m);
    return m;
}

// Up to four sources into out over n samples. FIRST overwrites out, RAMP moves each gain one
// step before every sample and lands on the target at the last, PEAK returns out's peak, and
// INPEAK stores the sources' own peaks where they ask for them.
template <int L, bool FIRST, bool RAMP, bool PEAK, bool INPEAK>
double mixGroup(double* __restrict out, const double* __restrict x0, const double* __restrict x1,
                const double* __restrict x2, const double* __restrict x3, const MixSource* s, int n) {
    double g[4] = {}, d[4] = {}, last[4] = {};
    for (int j = 0; j < L; j++) {
        g[j] = s[j].gain;
        d[j] = s[j].step;
        last[j] = s[j].target;
    }
    const int body = RAMP ? n - 1 : n;
    Vec peak = {}, in0 = {}, in1 = {}, in2 = {}, in3 = {};
    Vec t = {1.0, 2.0, 3.0, 4.0};  // steps taken before each sample: whole numbers, exact
    int k = 0;
    for (; k + VEC <= body; k += VEC) {
        const Vec v0 = load(x0 + k), v1 = load(x1 + k), v2 = load(x2 + k), v3 = load(x3 + k);
        Vec a = FIRST ? v0 * (RAMP ? splat(g[0]) + t * d[0] : splat(g[0]))
                      : load(out + k) + v0 * (RAMP ? splat(g[0]) + t * d[0] : splat(g[0]));
        if constexpr (L > 1) a = a + v1 * (RAMP ? splat(g[1]) + t * d[1] : splat(g[1]));
        if constexpr (L > 2) a = a + v2 * (RAMP ? splat(g[2]) + t * d[2] : splat(g[2]));
        if constexpr (L > 3) a = a + v3 * (RAMP ? splat(g[3]) + t * d[3] : splat(g[3]));
        store(out + k, a);
        if constexpr (PEAK) peak = larger(magnitude(a), peak);
        if constexpr (INPEAK) {
            in0 = larger(magnitude(v0), in0);
            if constexpr (L > 1) in1 = larger(magnitude(v1), in1);
            if constexpr (L > 2) in2 = larger(magnitude(v2), in2);
            if constexpr (L > 3) in3 = larger(magnitude(v3), in3);
        }
        if constexpr (RAMP) t = t + 4.0;
    }
    double m = PEAK ? reduce(peak) : 0.0;
    double inPeak[4] = {reduce(in0), reduce(in1), reduce(in2), reduce(in3)};
    const double* x[4] = {x0, x1, x2, x3};
    auto sample = [&](int i, const double* gains, bool stepped) {
        double u = double(i + 1);
        auto gainOf = [&](int j) { return stepped ? gains[j] + u * d[j] : gains[j]; };
        double a = FIRST ? x0[i] * gainOf(0) : out[i] + x0[i] * gainOf(0);
        if constexpr (L > 1) a = a + x1[i] * gainOf(1);
        if constexpr (L > 2) a = a + x2[i] * gainOf(2);
        if constexpr (L > 3) a = a + x3[i] * gainOf(3);
        out[i] = a;
        if constexpr (PEAK) m = larger(__builtin_fabs(a), m);
        if constexpr (INPEAK)
            for (int j = 0; j < L; j++) inPeak[j] = larger(__builtin_fabs(x[j][i]), inPeak[j]);
    };
    for (; k < body; k++) sample(k, g, RAMP);
    if constexpr (RAMP) sample(n - 1, last, false);
    if constexpr (INPEAK)
        for (int j = 0; j < L; j++)
            if (s[j].samplePeak) *s[j].samplePeak = inPeak[j];
    return m;
}

using GroupFn = double (*)(double*, const double*, const double*, const double*, const double*, const MixSource*, int);
struct Table {
    GroupFn f[16];
};

// Every variant of a group width, indexed by first + 2 * ramp + 4 * peak + 8 * input peaks.
template <int L, int V>
constexpr GroupFn VARIANT = mixGroup<L, (V & 1) != 0, (V & 2) != 0, (V & 4) != 0, (V & 8) != 0>;
template <int L>
constexpr Table groupTable() {
    return Table{{VARIANT<L, 0>, VARIANT<L, 1>, VARIANT<L, 2>, VARIANT<L, 3>, VARIANT<L, 4>, VARIANT<L, 5>,
                  VARIANT<L, 6>, VARIANT<L, 7>, VARIANT<L, 8>, VARIANT<L, 9>, VARIANT<L, 10>, VARIANT<L, 11>,
                  VARIANT<L, 12>, VARIANT<L, 13>, VARIANT<L, 14>, VARIANT<L, 15>}};
}

constexpr Table GROUPS[4] = {groupTable<1>(), groupTable<2>(), groupTable<3>(), groupTable<4>()};

double mixSpeaker(double* out, const MixSource* sources, int count, int n, bool wantPeak) {
    double peak = 0.0;
    for (int start = 0; start < count; start += VEC) {
        const MixSource* s = sources + start;
        int lanes = count - start < VEC ? count - start : VEC;
        bool ramp = false, inputPeaks = false;
        for (int j = 0; j < lanes; j++) {
            ramp = ramp || s[j].step != 0.0;
            inputPeaks = inputPeaks || s[j].samplePeak;
        }
        bool first = start == 0, lastGroup = start + VEC >= count;
        int variant = int(first) + 2 * int(ramp) + 4 * int(wantPeak && lastGroup) + 8 * int(inputPeaks);
        GroupFn group = GROUPS[lanes - 1].f[variant];
        const double* x0 = s[0].samples;
        peak = group(out, x0, lanes > 1 ? s[1].samples : x0, lanes > 2 ? s[2].samples : x0,
                     lanes > 3 ? s[3].samples : x0, s, n);
    }
    return peak;
}

double absPeak(const double* x, int n) {
    Vec peak = {};
    int k = 0;
    for (; k + VEC <= n; k += VEC) peak = larger(magnitude(load(x + k)), peak);
    double m = reduce(peak);
    for (; k < n; k++) m = larger(__builtin_fabs(x[k]), m);
    return m;
}

}  // namespace

MixKernels kernels() { return MixKernels{mixSpeaker, absPeak}; }

}  // namespace KVP_MIX_NAMESPACE
