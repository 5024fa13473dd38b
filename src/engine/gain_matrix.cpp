#include "engine/gain_matrix.h"

#include <cmath>
#include <cstring>
#include <numbers>

#include "engine/instance.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"

double panLaw(double t, double lawDb) {
    double c = std::cos(t * std::numbers::pi / 2.0);
    double linear = 1.0 - t;
    double hold = t > 0.5 ? 2.0 * (1.0 - t) : 1.0;
    if (lawDb == -3.0) return c;
    if (lawDb <= -6.0) return linear;
    if (lawDb < -3.0) {
        double k = (lawDb + 6.0) / 3.0;
        return k * c + (1.0 - k) * linear;
    }
    if (lawDb < 0.0) {
        double k = (lawDb + 3.0) / 3.0;
        return k * hold + (1.0 - k) * c;
    }
    return hold;
}

bool sizeGainTables(SurroundPanner* p, int inputs, int speakers) {
    size_t cells = size_t(inputs) * size_t(speakers) * sizeof(double);
    for (int t = GAIN_CURRENT; t <= GAIN_RAMP; t++)
        if (!growBufferResize(&p->gainTables[t], cells)) return false;
    if (!growBufferResize(&p->gainRowScratch, size_t(speakers) * sizeof(double))) return false;
    for (int t = GAIN_CURRENT; t <= GAIN_RAMP; t++)
        if (cells) std::memset(p->gainTables[t].data, 0, cells);
    return true;
}

const double* targetGainRow(const SurroundPanner* p, int input) {
    int nSpk = speakerCount(p);
    if (input < 0 || input >= inputCount(p) || p->gainTables[GAIN_TARGET].used < size_t(inputCount(p)) * size_t(nSpk) * sizeof(double))
        return nullptr;
    return growItems<double>(p->gainTables[GAIN_TARGET]) + size_t(input) * size_t(nSpk);
}

namespace {

// The fade of one speaker's box along all three axes for an input at point, divergence v.
double boxGain(const PanSpeaker& s, int set, const double point[3], double v, double lawDb) {
    const double warp[3] = {s.warpX, s.warpY, s.warpZ};
    double gain = 1.0;
    for (int a = 0; a < REACH_AXES; a++) {
        double c = warp[a], p = point[a];
        double reach = c <= p ? s.reachPos[set][a] : s.reachNeg[set][a];
        double dist = std::fabs(p - c);
        if (v > 0.0) dist = dist - v < 0.0 ? 0.0 : dist - v;
        if (dist == 0.0 || reach < 0.0) continue;
        if (reach == 0.0) return 0.0;
        double t = dist / reach;
        if (t >= 1.0) return 0.0;
        gain *= panLaw(t, lawDb);
    }
    return gain;
}

// One set's scratch row and its sum; zero for speakers outside the set.
double setRow(const PanSpeaker* spk, int n, int set, const double point[3], double v, double lawDb, double* g) {
    double sum = 0.0;
    for (int s = 0; s < n; s++) {
        bool member = isPanningSpeaker(spk[s]) && !(spk[s].flags & SPEAKER_SET_EXCLUDED[set]);
        g[s] = member ? boxGain(spk[s], set, point, v, lawDb) : 0.0;
        sum += g[s];
    }
    return sum;
}

// One input's gain row, from a clean row to the gains of each speaker; the caller has checked
// the row and the scratch.
void fillInputGains(SurroundPanner* p, int input, double* row, int n) {
    const PanInput& in = inputRecords(p)[input];
    const PanSpeaker* spk = speakerRecords(p);
    double* g = growItems<double>(p->gainRowScratch);

    // A clean row; the LFE speakers get the input's LFE send and nothing else.
    const double lfeSend = sharedLoad(in.lfeSend);
    for (int s = 0; s < n; s++) row[s] = isPanningSpeaker(spk[s]) || spk[s].vacant ? 0.0 : lfeSend * sharedLoad(spk[s].gain);
    // The input that is the LFE channel feeds the LFE speakers only.
    if ((sharedLoad(p->channelOptions) & CHANNEL_OPTION_LFE_INPUT) && input == 3) return;

    // The point, bent like the speakers when they were bent onto the grid.
    double point[3] = {sharedLoad(in.posX), sharedLoad(in.posY), sharedLoad(in.posZ)};
    if (p->warpActive && polarFromXY(point[0], point[1], point[2]).radius != 0.0)
        warpPoint(p, point[0], point[1], point[2], nullptr, &point[0], &point[1]);

    // Blend weights of the four sets; they sum to 1.
    double c = (p->speakerFlagsUnion & SPK_CENTERGROUP) ? sharedLoad(p->centerPercent) : 1.0;
    double d = (p->speakerFlagsUnion & SPK_SIDEGROUP) ? sharedLoad(p->sidePercent) : 1.0;
    double hi = std::fmax(c, d);
    const double weights[SPEAKER_SET_COUNT] = {std::fmin(c, d), hi - c, hi - d, 1.0 - hi};

    // Each set's box gains, widened by divergence at the same total amplitude.
    const double lawDb = sharedLoad(p->panLawDb), divergence = sharedLoad(in.divergence);
    for (int set = 0; set < SPEAKER_SET_COUNT; set++) {
        double w = weights[set];
        if (w == 0.0) continue;
        double sum = setRow(spk, n, set, point, 0.0, lawDb, g);
        if (divergence > 0.0) {
            double sum2 = setRow(spk, n, set, point, divergence, lawDb, g);
            if (sum2 > 0.0)
                for (int s = 0; s < n; s++) g[s] *= sum / sum2;
        }
        for (int s = 0; s < n; s++) row[s] += w * g[s];
    }

    // The input's and each speaker's own gain.
    const double gain = sharedLoad(in.gain);
    for (int s = 0; s < n; s++)
        if (isPanningSpeaker(spk[s])) row[s] = gain * sharedLoad(spk[s].gain) * row[s];
}

}  // namespace

void computeInputGains(SurroundPanner* p, int input) {
    double* row = const_cast<double*>(targetGainRow(p, input));
    int n = speakerCount(p);
    if (!row || p->gainRowScratch.used < size_t(n) * sizeof(double)) return;
    fillInputGains(p, input, row, n);
    // A gain under -600 dB is silence; held as 0 it cannot turn the mix subnormal and slow.
    constexpr double GAIN_FLOOR = 1e-30;
    for (int s = 0; s < n; s++)
        if (std::fabs(row[s]) < GAIN_FLOOR) row[s] = 0.0;
}
