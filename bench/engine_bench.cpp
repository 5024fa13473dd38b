// The pan engine's costs: the audio block against a bare mix loop over the same buffers, the
// full gain recompute after a speaker change, and the real-time factor of a large session.
// Each audio figure is taken in the same run as its bare-loop reference and printed as a ratio.
// Times are the thread's CPU time, so that other work on a shared machine does not count.
#include <benchmark/benchmark.h>
#include <time.h>

#include <cmath>
#include <vector>

#include "engine/audio_block.h"
#include "engine/gain_matrix.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "shell/entry.h"
#include "shell/panner.h"
#include "thread_time.h"

namespace {

// A panner with the given counts: speakers spread over both layers of the room, inputs spread
// over the floor, every input at a distinct place.
SurroundPanner* makeSession(int inputs, int speakers) {
    SurroundPanner* p = createPanner();
    LockHold hold(&p->stateLock);
    p->inputs.resize(inputs);
    for (int i = 0; i < inputs; i++) {
        PanInput& in = inputRecords(p)[i];
        newInputRecord(&in, i);
        in.posX = std::sin(i * 0.7);
        in.posY = std::cos(i * 1.3);
        in.posZ = (i % 4) * 0.25;
    }
    p->speakers.resize(speakers);
    int perLayer = speakers > 8 ? speakers / 2 : speakers;
    for (int s = 0; s < speakers; s++) {
        double a = 2.0 * 3.141592653589793 * (s % perLayer) / perLayer;
        double z = s >= perLayer ? 1.0 : 0.0;
        newSpeakerRecord(&speakerRecords(p)[s], std::sin(a), std::cos(a), z, false);
    }
    analyzeSpeakers(p);
    p->effect.numInputs = inputs;
    p->effect.numOutputs = speakers;
    return p;
}

struct Buffers {
    std::vector<std::vector<double>> in, out;
    std::vector<double*> inPtrs, outPtrs;
    Buffers(int inputs, int speakers, int n) {
        in.assign(size_t(inputs), std::vector<double>(size_t(n)));
        out.assign(size_t(speakers), std::vector<double>(size_t(n)));
        for (auto& b : in) inPtrs.push_back(b.data());
        for (auto& b : out) outPtrs.push_back(b.data());
        refill(n);
    }
    void refill(int n) {
        for (size_t i = 0; i < in.size(); i++)
            for (int k = 0; k < n; k++) in[i][size_t(k)] = std::sin(0.01 * k + double(i));
    }
};

// The reference: every input into every speaker, out += in * g, nothing else.
void bareMix(Buffers& b, const std::vector<double>& gains, int n) {
    size_t speakers = b.out.size();
    for (auto& o : b.out) std::fill(o.begin(), o.begin() + n, 0.0);
    for (size_t i = 0; i < b.in.size(); i++)
        for (size_t s = 0; s < speakers; s++) {
            double g = gains[i * speakers + s];
            const double* x = b.inPtrs[i];
            double* y = b.outPtrs[s];
            for (int k = 0; k < n; k++) y[k] += x[k] * g;
        }
}

// Arguments: inputs, speakers, block length, ramping (every row dirty every block).
void audioBlock(benchmark::State& state) {
    const int inputs = int(state.range(0)), speakers = int(state.range(1)), n = int(state.range(2));
    const bool ramping = state.range(3) != 0;
    SurroundPanner* p = makeSession(inputs, speakers);
    Buffers b(inputs, speakers, n);
    std::vector<double> gains(size_t(inputs) * size_t(speakers), 0.25);
    AEffect* e = &p->effect;
    e->processDoubleReplacing(e, b.inPtrs.data(), b.outPtrs.data(), n);
    double pluginSeconds = 0.0, bareSeconds = 0.0;
    for (auto _ : state) {
        if (ramping) {
            for (int i = 0; i < inputs; i++) inputRecords(p)[i].posX = -inputRecords(p)[i].posX;
            markAllInputsDirty(p);
        }
        double t0 = threadSeconds();
        e->processDoubleReplacing(e, b.inPtrs.data(), b.outPtrs.data(), n);
        double t1 = threadSeconds();
        bareMix(b, gains, n);
        double t2 = threadSeconds();
        benchmark::DoNotOptimize(b.outPtrs[0][0]);
        pluginSeconds += t1 - t0;
        bareSeconds += t2 - t1;
        state.SetIterationTime(t1 - t0);
    }
    double cells = double(state.iterations()) * n * inputs * speakers;
    state.counters["ns_per_sample_input_speaker"] = pluginSeconds * 1e9 / cells;
    state.counters["ratio_to_bare_mix"] = pluginSeconds / bareSeconds;
    destroyPanner(p);
}

void audioShapes(benchmark::internal::Benchmark* b) {
    const int shapes[][2] = {{2, 2}, {6, 6}, {12, 12}, {32, 16}, {128, 32}};
    for (int ramp = 0; ramp <= 1; ramp++)
        for (auto& shape : shapes)
            for (int n : {64, 512, 4096}) b->Args({shape[0], shape[1], n, ramp});
    b->ArgNames({"in", "spk", "block", "ramping"});
    b->UseManualTime();
}
BENCHMARK(audioBlock)->Apply(audioShapes);

// Every row of the matrix redone, as after a speaker change: analysis, reach tables, rows.
void gainRecompute(benchmark::State& state) {
    const int inputs = int(state.range(0)), speakers = int(state.range(1));
    SurroundPanner* p = makeSession(inputs, speakers);
    sizeGainTables(p, inputs, speakers);
    double seconds = 0.0;
    for (auto _ : state) {
        double t0 = threadSeconds();
        analyzeSpeakers(p);
        buildReachTables(p);
        for (int i = 0; i < inputs && i < CHANNEL_MASK_BITS; i++) computeInputGains(p, i);
        benchmark::DoNotOptimize(targetGainRow(p, 0));
        seconds += threadSeconds() - t0;
    }
    state.counters["ms_per_recompute"] = seconds * 1e3 / double(state.iterations());
    destroyPanner(p);
}
BENCHMARK(gainRecompute)->ArgsProduct({{16, 64, 128}, {12, 32}})->ArgNames({"in", "spk"});

// 128 inputs into 32 speakers at 48 kHz in blocks of 512: seconds of audio per second of work.
void realTimeFactor(benchmark::State& state) {
    const int n = 512;
    SurroundPanner* p = makeSession(128, 32);
    Buffers b(128, 32, n);
    AEffect* e = &p->effect;
    double seconds = 0.0;
    long long samples = 0;
    for (auto _ : state) {
        double t0 = threadSeconds();
        e->processDoubleReplacing(e, b.inPtrs.data(), b.outPtrs.data(), n);
        seconds += threadSeconds() - t0;
        samples += n;
        benchmark::DoNotOptimize(b.outPtrs[0][0]);
    }
    state.counters["realtime_factor"] = (double(samples) / 48000.0) / seconds;
    destroyPanner(p);
}
BENCHMARK(realTimeFactor);

}  // namespace
