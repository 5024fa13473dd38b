#include "engine/audio_block.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>

#include "engine/audio_mix.h"
#include "engine/delay_line.h"
#include "engine/gain_matrix.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"

namespace {

constexpr int METER_STRIPS = 16;

// A delay in seconds as whole samples, cut toward zero; a delay from a damaged state that would not
// fit an int32 is held at its limits, where it passes undelayed like any delay beyond the range.
int32_t delayInSamples(double seconds, double sampleRate) {
    double samples = seconds * sampleRate;
    if (!(samples > -2147483648.0)) return samples != samples ? 0 : INT32_MIN;
    if (samples >= 2147483647.0) return INT32_MAX;
    return int32_t(samples);
}

// What the locked head hands to the unlocked tail.
struct BlockHead {
    int nIn, nSpk;
    bool resized;
    bool anyDirty;
    uint64_t dirty[2];  // the rows redone in this head
    double sampleRate;
    int firstInputStrip, firstSpeakerStrip;
    double meterGains[METER_STRIPS];
    uint64_t inputActive[2], speakerActive[2];
};

bool bit(const uint64_t* mask, int i) { return i < CHANNEL_MASK_BITS && (mask[i >> 6] >> (i & 63)) & 1; }
void setBit(uint64_t* mask, int i) {
    if (i < CHANNEL_MASK_BITS) mask[i >> 6] |= uint64_t(1) << (i & 63);
}

// The head, under stateLock: sizes the tables for new counts, redoes the gain rows of changed
// speakers and dirty inputs, and copies the meter gains, the solo state, each input's delay in
// samples and the active inputs into the block's own copy. Returns false when the tables cannot
// be sized: the block is silent.
bool lockedHead(SurroundPanner* p, BlockHead* h) {
    LockHold hold(&p->stateLock);
    // New counts: tables sized and zeroed, every row and the reach tables redone.
    h->nIn = inputCount(p);
    h->nSpk = speakerCount(p);
    h->resized = false;
    if (h->nIn != p->audioInputs || h->nSpk != p->audioSpeakers) {
        if (!sizeGainTables(p, h->nIn, h->nSpk) ||
            !growBufferResize(&p->inputDelays, size_t(h->nIn) * sizeof(int32_t)))
            return false;
        p->audioInputs = h->nIn;
        p->audioSpeakers = h->nSpk;
        markAllInputsDirty(p);
        p->speakersChanged = 1;
        h->resized = true;
    }
    // Speakers changed: the reach tables, and every row with them.
    std::atomic_ref<uint8_t> speakersChanged(p->speakersChanged);
    if (speakersChanged.load()) {
        buildReachTables(p);
        markAllInputsDirty(p);
        speakersChanged.store(0);
    }
    // Take the dirty bits in one step each, and redo those rows.
    for (int k = 0; k < 2; k++) h->dirty[k] = std::atomic_ref<uint64_t>(p->gainsDirtyInputs[k]).exchange(0);
    h->anyDirty = (h->dirty[0] | h->dirty[1]) != 0;
    int rows = h->nIn < CHANNEL_MASK_BITS ? h->nIn : CHANNEL_MASK_BITS;
    for (int i = 0; i < rows; i++)
        if (bit(h->dirty, i)) computeInputGains(p, i);
    // The gains the input meters are scaled by.
    const PanInput* in = inputRecords(p);
    // A strip start from a damaged state may sit near either int limit; anything that far is
    // past every channel or before the first, and held there the meter indices below and the
    // strip numbers of the mix cannot overflow.
    constexpr int STRIP_START_MAX = INT32_MAX - 2 * METER_STRIPS;
    constexpr int STRIP_START_MIN = -2 * METER_STRIPS;
    h->firstInputStrip = std::clamp(p->firstInputStrip, STRIP_START_MIN, STRIP_START_MAX);
    h->firstSpeakerStrip = std::clamp(p->firstSpeakerStrip, STRIP_START_MIN, STRIP_START_MAX);
    for (int k = 0; k < METER_STRIPS; k++) {
        int i = h->firstInputStrip + k;
        h->meterGains[k] = (i >= 0 && i < h->nIn) ? sharedLoad(in[i].gain) : 1.0;
    }
    // Solo state, each input's delay in samples, and who is active.
    bool inputsSoloed = anyInputSolo(p), speakersSoloed = anySpeakerSolo(p);
    h->sampleRate = sharedLoad(p->sampleRate);
    int32_t* delays = growItems<int32_t>(p->inputDelays);
    std::memset(h->inputActive, 0, sizeof h->inputActive);
    std::memset(h->speakerActive, 0, sizeof h->speakerActive);
    for (int i = 0; i < h->nIn; i++) {
        delays[i] = delayInSamples(sharedLoad(in[i].delay), h->sampleRate);
        if ((!inputsSoloed && !sharedLoad(in[i].mute)) || sharedLoad(in[i].solo)) setBit(h->inputActive, i);
    }
    const PanSpeaker* spk = speakerRecords(p);
    for (int s = 0; s < h->nSpk; s++)
        if (!sharedLoad(spk[s].vacant) && ((!speakersSoloed && !sharedLoad(spk[s].mute)) || sharedLoad(spk[s].solo)))
            setBit(h->speakerActive, s);
    return true;
}

// One input through its delay line, in place: the line is made or lengthened as needed, `in`
// goes in and the tap at the delay comes back into `in`, crossfaded from the old tap when the
// delay changed.
void delayInput(SurroundPanner* p, int i, double* in, int n, int delaySamples, double sampleRate) {
    DelayLine** lines = growItems<DelayLine*>(p->delayLines);
    int lineCount = growCount<DelayLine*>(p->delayLines);
    DelayLine* line = i < lineCount ? lines[i] : nullptr;
    if (!line && delaySamples > 0) {
        if (i >= lineCount) {
            if (!growBufferResize(&p->delayLines, size_t(i + 1) * sizeof(DelayLine*))) return;
            lines = growItems<DelayLine*>(p->delayLines);
            for (int k = lineCount; k <= i; k++) lines[k] = nullptr;
        }
        line = lines[i] = createDelayLine();
    }
    if (!line) return;
    const int maxDelay = int(DELAY_MAX_SECONDS * sampleRate);
    // A line this long could not be allocated anyway: the block passes undelayed.
    if (n > INT32_MAX / 2 - maxDelay) return;
    // A longer block, or the first block with a delay, fades in from zero.
    if (line->capacity < n + maxDelay) {
        int pad = line->capacity == 0 ? maxDelay : n + maxDelay - line->capacity;
        if (!delaySetCapacity(line, n + maxDelay)) return;
        delayAdd(line, nullptr, pad);
        for (int k = 0; k < n; k++) in[k] *= double(k) / n;
    }
    delayAdd(line, in, n);
    if (delaySamples > 0) delayPeek(line, in, maxDelay - delaySamples, n);
    // A new delay crossfades from the old tap over the block.
    if (i < CHANNEL_MASK_BITS && delaySamples != p->delayPositions[i]) {
        double* scratch = growItems<double>(p->gainTables[GAIN_DELAY_SCRATCH]);
        int got = delayPeek(line, scratch, maxDelay - p->delayPositions[i], n);
        if (got < n) std::memset(scratch + got, 0, size_t(n - got) * sizeof(double));
        p->delayPositions[i] = delaySamples;
        for (int k = 0; k < n; k++) {
            double r = double(k) / n;
            in[k] = (1.0 - r) * scratch[k] + r * in[k];
        }
    }
    delayDrop(line, n);
}

// Every input each active speaker hears, in input order, then the speaker mixed in passes of
// several inputs; a speaker nothing reaches is silent. The meter strips' peaks come from the same
// passes: a speaker's from its last, an input's from the first that reads it (or from a pass of
// its own when it reaches no speaker). Peaks are written for the strips' active channels only.
void mixSpeakers(const BlockHead& h, double** inputs, double** outputs, int nUseIn, int nUseOut, int n,
                 const double* current, const double* target, const double* ramp, bool ramping,
                 double inputPeaks[METER_STRIPS], double speakerPeaks[METER_STRIPS]) {
    const MixKernels kernels = mixKernelsForCpu();
    int heard[CHANNEL_MASK_BITS];
    int heardCount = 0;
    for (int i = 0; i < nUseIn && i < CHANNEL_MASK_BITS; i++)
        if (inputs && inputs[i] && bit(h.inputActive, i)) heard[heardCount++] = i;
    bool inputPeakTaken[METER_STRIPS] = {};
    MixSource sources[CHANNEL_MASK_BITS];
    // Speakers a batch at a time: one walk along the gain rows lists, for each speaker of the
    // batch, the inputs with a gain or a ramp there (an append without a branch per cell).
    constexpr int BATCH = 32;
    uint8_t reaching[BATCH][CHANNEL_MASK_BITS];
    for (int first = 0; first < nUseOut; first += BATCH) {
        const int batch = nUseOut - first < BATCH ? nUseOut - first : BATCH;
        int reachCount[BATCH] = {};
        for (int u = 0; u < heardCount; u++) {
            const size_t rowStart = size_t(heard[u]) * size_t(h.nSpk) + size_t(first);
            const double* g = current + rowStart;
            const double* dg = ramping && bit(h.dirty, heard[u]) ? ramp + rowStart : nullptr;
            for (int b = 0; b < batch; b++) {
                reaching[b][reachCount[b]] = uint8_t(u);
                reachCount[b] += g[b] != 0.0 || (dg && dg[b] != 0.0);
            }
        }
        for (int b = 0; b < batch; b++) {
            const int s = first + b;
            double* out = outputs ? outputs[s] : nullptr;
            if (!out) continue;
            const int count = bit(h.speakerActive, s) ? reachCount[b] : 0;
            for (int k = 0; k < count; k++) {
                const int i = heard[reaching[b][k]];
                const size_t c = size_t(i) * size_t(h.nSpk) + size_t(s);
                const double dg = ramping && bit(h.dirty, i) ? ramp[c] : 0.0;
                const int strip = i - h.firstInputStrip;
                double* samplePeak = nullptr;
                if (strip >= 0 && strip < METER_STRIPS && !inputPeakTaken[strip]) {
                    inputPeakTaken[strip] = true;
                    samplePeak = &inputPeaks[strip];
                }
                sources[k] = MixSource{inputs[i], current[c], dg, dg == 0.0 ? current[c] : target[c], samplePeak};
            }
            const int strip = s - h.firstSpeakerStrip;
            const bool metered = strip >= 0 && strip < METER_STRIPS;
            if (count == 0) {
                std::memset(out, 0, size_t(n) * sizeof(double));
                if (metered) speakerPeaks[strip] = 0.0;
                continue;
            }
            double peak = kernels.mixSpeaker(out, sources, count, n, metered);
            if (metered) speakerPeaks[strip] = peak;
        }
    }
    for (int u = 0; u < heardCount; u++) {
        const int strip = heard[u] - h.firstInputStrip;
        if (strip >= 0 && strip < METER_STRIPS && !inputPeakTaken[strip])
            inputPeaks[strip] = kernels.absPeak(inputs[heard[u]], n);
    }
}

}  // namespace

double meterPeak(const SurroundPanner* p, int k) {
    return std::atomic_ref<double>(const_cast<double&>(p->meterPeaks[k])).load(std::memory_order_relaxed);
}

void VST_CALL processDoubleReplacing(AEffect* effect, double** inputs, double** outputs, int32_t frames) {
    SurroundPanner* p = pannerFromEffect(effect);
    if (!p || frames <= 0) return;
    const int n = frames;
    BlockHead h;
    if (!lockedHead(p, &h)) {
        for (int o = 0; outputs && o < effect->numOutputs; o++)
            if (outputs[o]) std::memset(outputs[o], 0, size_t(n) * sizeof(double));
        return;
    }

    // Ramps: a resized block starts at the new gains; otherwise the rows redone ramp over the
    // block (every other row has its target already).
    const size_t cells = size_t(h.nIn) * size_t(h.nSpk);
    double* current = growItems<double>(p->gainTables[GAIN_CURRENT]);
    double* target = growItems<double>(p->gainTables[GAIN_TARGET]);
    double* ramp = growItems<double>(p->gainTables[GAIN_RAMP]);
    const int rampRows = h.nIn < CHANNEL_MASK_BITS ? h.nIn : CHANNEL_MASK_BITS;
    bool ramping = false;
    if (h.anyDirty && h.resized) {
        if (cells) std::memcpy(current, target, cells * sizeof(double));
    } else if (h.anyDirty) {
        for (int i = 0; i < rampRows; i++)
            if (bit(h.dirty, i))
                for (size_t c = size_t(i) * size_t(h.nSpk), end = c + size_t(h.nSpk); c < end; c++)
                    ramp[c] = (target[c] - current[c]) / n;
        ramping = true;
    }

    // Channel counts: what both the host and the records have. A resized block drops all delay
    // history, so the new shape starts from silence in every line.
    const int nUseIn = effect->numInputs < h.nIn ? effect->numInputs : h.nIn;
    const int nUseOut = effect->numOutputs < h.nSpk ? effect->numOutputs : h.nSpk;
    if (h.resized) {
        effect->numInputs = h.nIn;
        effect->numOutputs = h.nSpk;
        releaseDelayLines(p);
        std::memset(p->delayPositions, 0, sizeof p->delayPositions);
    }
    if (p->gainTables[GAIN_DELAY_SCRATCH].used < size_t(n) * sizeof(double) &&
        !growBufferResize(&p->gainTables[GAIN_DELAY_SCRATCH], size_t(n) * sizeof(double)))
        return;

    const int32_t* delays = growItems<int32_t>(p->inputDelays);
    for (int i = 0; i < nUseIn; i++)
        if (inputs && inputs[i]) delayInput(p, i, inputs[i], n, delays[i], h.sampleRate);
    double inputPeaks[METER_STRIPS] = {}, speakerPeaks[METER_STRIPS] = {};
    mixSpeakers(h, inputs, outputs, nUseIn, nUseOut, n, current, target, ramp, ramping, inputPeaks, speakerPeaks);

    // Meters: halve every 75 ms, then take this block's peak.
    const double decay = std::exp(-std::numbers::ln2 * n / (h.sampleRate * METER_HALF_LIFE_MS * 0.001));
    for (int k = 0; k < METER_COUNT; k++) {
        std::atomic_ref<double> meter(p->meterPeaks[k]);
        double m = meter.load(std::memory_order_relaxed);
        if (m > 0.0) {
            m *= decay;
            if (m < METER_FLOOR) m = 0.0;
        }
        double peak = 0.0;
        if (k < METER_STRIPS) {
            int i = h.firstInputStrip + k;
            if (i >= 0 && i < nUseIn && bit(h.inputActive, i) && inputs && inputs[i])
                peak = inputPeaks[k] * h.meterGains[k];
        } else {
            int s = h.firstSpeakerStrip + k - METER_STRIPS;
            if (s >= 0 && s < nUseOut && bit(h.speakerActive, s) && outputs && outputs[s])
                peak = speakerPeaks[k - METER_STRIPS];
        }
        meter.store(std::fmax(m, peak), std::memory_order_relaxed);
    }

    // End of block: the ramps arrived.
    if (ramping)
        for (int i = 0; i < rampRows; i++)
            if (bit(h.dirty, i) && h.nSpk)
                std::memcpy(current + size_t(i) * size_t(h.nSpk), target + size_t(i) * size_t(h.nSpk),
                            size_t(h.nSpk) * sizeof(double));
}

void VST_CALL processFloatIgnored(AEffect*, float**, float**, int32_t) {}

void releaseDelayLines(SurroundPanner* p) {
    DelayLine** lines = growItems<DelayLine*>(p->delayLines);
    for (int i = growCount<DelayLine*>(p->delayLines) - 1; i >= 0; i--) destroyDelayLine(lines[i]);
    growBufferResize(&p->delayLines, 0);
}
