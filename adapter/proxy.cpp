// The proxy AEffect: every call goes on to the core's effect; float audio runs through the
// core's double path on buffers prepared outside the audio block.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "adapter/adapter.h"

namespace {

// Vendor call of the core's named values, and its answer when it knows the name.
constexpr int32_t VENDOR_READ_NAMED = 23;
constexpr intptr_t VENDOR_ANSWER_KNOWN = 0xF00D;

AdapterEffect* fromProxy(AEffect* e) { return e ? static_cast<AdapterEffect*>(e->object) : nullptr; }

int countOf(int32_t n) { return n < 0 ? 0 : int(n); }

// Channel capacities go up in powers of two, so that a growing count replaces few sets.
constexpr int SCRATCH_MIN_CHANNELS = 8;
int capacityFor(int channels) {
    int c = SCRATCH_MIN_CHANNELS;
    while (c < channels && c < (1 << 20)) c *= 2;
    return c;
}

// ---- buffers ----

double* inputOf(AdapterScratch* s, int i) { return s->samples + size_t(i) * size_t(s->frames); }
double* outputOf(AdapterScratch* s, int o) { return s->samples + size_t(s->channels + o) * size_t(s->frames); }
double* discardOf(AdapterScratch* s) { return s->samples + size_t(2 * s->channels) * size_t(s->frames); }

void scratchFree(AdapterScratch* s) {
    if (!s) return;
    std::free(s->samples);
    std::free(s->inputPointers);
    std::free(s->outputPointers);
    delete s;
}

AdapterScratch* scratchCreate(int channels, int frames) {
    AdapterScratch* s = new (std::nothrow) AdapterScratch{};
    if (!s) return nullptr;
    s->channels = channels;
    s->frames = frames;
    s->samples = static_cast<double*>(std::calloc((2 * size_t(channels) + 1) * size_t(frames), sizeof(double)));
    s->inputPointers = static_cast<double**>(std::calloc(size_t(channels), sizeof(double*)));
    s->outputPointers = static_cast<double**>(std::calloc(size_t(channels), sizeof(double*)));
    if (!s->samples || !s->inputPointers || !s->outputPointers) {
        scratchFree(s);
        return nullptr;
    }
    return s;
}

void freeRetired(AdapterEffect* a) {
    while (AdapterScratch* s = a->retired) {
        a->retired = s->nextRetired;
        scratchFree(s);
    }
}

// The count a named value of the core gives ("12", "8Q"), or the fallback.
int namedCount(AdapterEffect* a, const char* name, int fallback) {
    char text[64] = {0};
    intptr_t answer = a->inner->dispatcher(a->inner, effVendorSpecific, VENDOR_READ_NAMED,
                                           reinterpret_cast<intptr_t>(name), text, float(sizeof text));
    int n = answer == VENDOR_ANSWER_KNOWN ? countOf(std::atoi(text)) : 0;
    return n > 0 ? n : fallback;
}

// [window thread] Buffers for the block length the host announced and for every count the
// host or the core has or is about to take: the proxy shows the counts of the core's records
// (adapterTakeCounts runs first), which can be ahead of the core's AEffect until its next
// block. That block writes the AEffect's counts, so they are read only while no block runs. A
// set that fits stays; a replaced one waits for freeRetired.
void prepare(AdapterEffect* a, bool audioStopped) {
    int channels = std::max({countOf(a->proxy.numInputs), countOf(a->proxy.numOutputs), 1});
    if (audioStopped) channels = std::max({channels, countOf(a->inner->numInputs), countOf(a->inner->numOutputs)});
    channels = capacityFor(channels);
    int frames = a->blockSize > 0 ? std::min(a->blockSize, ADAPTER_MAX_FRAMES) : ADAPTER_DEFAULT_FRAMES;
    AdapterScratch* old = a->scratch.load(std::memory_order_acquire);
    if (old && old->channels >= channels && old->frames == frames) return;
    AdapterScratch* fresh = scratchCreate(channels, frames);
    if (!fresh) return;  // the old set goes on; blocks with more channels than it has are silent
    a->scratch.store(fresh, std::memory_order_release);
    if (old) {
        old->nextRetired = a->retired;
        a->retired = old;
    }
}

// ---- audio ----

// Whether [p, p + n) overlaps [q, q + n); the buffers may come from unrelated allocations.
bool overlaps(const double* p, const double* q, int n) {
    const uintptr_t a = reinterpret_cast<uintptr_t>(p), b = reinterpret_cast<uintptr_t>(q);
    const uintptr_t bytes = uintptr_t(n) * sizeof(double);
    return a < b + bytes && b < a + bytes;
}

// A piece the prepared buffers cannot take: the host's outputs get silence.
template <typename Sample>
void silence(Sample** out, int hostOut, int offset, int n, bool add) {
    for (int o = 0; o < hostOut && !add; o++)
        if (out && out[o]) std::memset(out[o] + offset, 0, size_t(n) * sizeof(Sample));
}

// One piece of a float block: the host's inputs to doubles, the core's block, its outputs back.
void floatPiece(AdapterEffect* a, AdapterScratch* s, float** in, float** out, int offset, int n, int hostIn,
                int hostOut, bool add) {
    const int coreIn = countOf(a->inner->numInputs), coreOut = countOf(a->inner->numOutputs);
    if (coreIn > s->channels || coreOut > s->channels) return silence(out, hostOut, offset, n, add);
    for (int i = 0; i < coreIn; i++) {
        double* d = inputOf(s, i);
        if (i < hostIn && in && in[i]) {
            const float* from = in[i] + offset;
            for (int k = 0; k < n; k++) d[k] = from[k];
        } else {
            std::memset(d, 0, size_t(n) * sizeof(double));
        }
        s->inputPointers[i] = d;
    }
    for (int o = 0; o < coreOut; o++) s->outputPointers[o] = outputOf(s, o);
    a->inner->processDoubleReplacing(a->inner, s->inputPointers, s->outputPointers, n);
    // Every host output is written, in order: where two share a buffer, the last one stays.
    for (int o = 0; o < hostOut; o++) {
        if (!out || !out[o]) continue;
        float* to = out[o] + offset;
        if (o < coreOut) {
            const double* d = outputOf(s, o);
            if (add)
                for (int k = 0; k < n; k++) to[k] += float(d[k]);
            else
                for (int k = 0; k < n; k++) to[k] = float(d[k]);
        } else if (!add) {
            std::memset(to, 0, size_t(n) * sizeof(float));
        }
    }
}

void processFloat(AEffect* e, float** in, float** out, int32_t frames, bool add) {
    AdapterEffect* a = fromProxy(e);
    AdapterScratch* s = a ? a->scratch.load(std::memory_order_acquire) : nullptr;
    if (!s || frames <= 0) return;
    const int hostIn = countOf(e->numInputs), hostOut = countOf(e->numOutputs);
    for (int offset = 0; offset < frames; offset += s->frames)
        floatPiece(a, s, in, out, offset, std::min(s->frames, frames - offset), hostIn, hostOut, add);
}

void VST_CALL proxyProcessReplacing(AEffect* e, float** in, float** out, int32_t frames) {
    processFloat(e, in, out, frames, false);
}
void VST_CALL proxyProcess(AEffect* e, float** in, float** out, int32_t frames) { processFloat(e, in, out, frames, true); }

// One piece of a double block. The core writes into its inputs and reads each after writing
// some outputs, so an input that shares memory with an output or an earlier input is copied.
void doublePiece(AdapterEffect* a, AdapterScratch* s, double** in, double** out, int offset, int n, int hostIn,
                 int hostOut) {
    const int coreIn = countOf(a->inner->numInputs), coreOut = countOf(a->inner->numOutputs);
    if (coreIn > s->channels || coreOut > s->channels) return silence(out, hostOut, offset, n, false);
    double** inputs = s->inputPointers;
    double** outputs = s->outputPointers;
    for (int o = 0; o < coreOut; o++) outputs[o] = o < hostOut && out && out[o] ? out[o] + offset : discardOf(s);
    for (int i = 0; i < coreIn; i++) {
        double* own = inputOf(s, i);
        double* from = i < hostIn && in && in[i] ? in[i] + offset : nullptr;
        if (!from) {
            std::memset(own, 0, size_t(n) * sizeof(double));
            inputs[i] = own;
            continue;
        }
        bool shared = false;
        for (int o = 0; o < coreOut && !shared; o++) shared = overlaps(from, outputs[o], n);
        for (int j = 0; j < i && !shared; j++) shared = overlaps(from, inputs[j], n);
        if (shared) std::memcpy(own, from, size_t(n) * sizeof(double));
        inputs[i] = shared ? own : from;
    }
    a->inner->processDoubleReplacing(a->inner, inputs, outputs, n);
    for (int o = coreOut; o < hostOut; o++)
        if (out && out[o]) std::memset(out[o] + offset, 0, size_t(n) * sizeof(double));
}

void VST_CALL proxyProcessDouble(AEffect* e, double** in, double** out, int32_t frames) {
    AdapterEffect* a = fromProxy(e);
    AdapterScratch* s = a ? a->scratch.load(std::memory_order_acquire) : nullptr;
    if (!s || frames <= 0) return;
    const int hostIn = countOf(e->numInputs), hostOut = countOf(e->numOutputs);
    for (int offset = 0; offset < frames; offset += s->frames)
        doublePiece(a, s, in, out, offset, std::min(s->frames, frames - offset), hostIn, hostOut);
}

// ---- parameters and the dispatcher ----

void VST_CALL proxySetParameter(AEffect* e, int32_t index, float value) {
    if (AdapterEffect* a = fromProxy(e)) a->inner->setParameter(a->inner, index, value);
}

float VST_CALL proxyGetParameter(AEffect* e, int32_t index) {
    AdapterEffect* a = fromProxy(e);
    return a ? a->inner->getParameter(a->inner, index) : 0.0f;
}

// Calls after which the core's channel counts may have moved.
bool mayChangeCounts(int32_t opcode) {
    return opcode == effSetChunk || opcode == effVendorSpecific || opcode == effSetSpeakerArrangement ||
           opcode == effIdle || opcode == effMainsChanged || opcode == effStopProcess;
}

intptr_t VST_CALL proxyDispatcher(AEffect* e, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    AdapterEffect* a = fromProxy(e);
    if (!a) return 0;
    if (opcode == effClose) {
        a->inner->dispatcher(a->inner, effClose, 0, 0, nullptr, 0.0f);
        scratchFree(a->scratch.load());
        freeRetired(a);
        delete a;
        return 0;
    }
    if (opcode == effSetBlockSize) a->blockSize = value > 0 && value <= INT32_MAX ? int(value) : 0;
#if !defined(_WIN32)
    // The editor is a Windows dialog: elsewhere the host shows its own controls.
    if (opcode == effEditOpen || opcode == effEditGetRect) return 0;
#endif
    intptr_t result = a->inner->dispatcher(a->inner, opcode, index, value, ptr, opt);
    // No block runs while the host suspends the effect or sets its block length.
    const bool audioStopped =
        opcode == effSetBlockSize || ((opcode == effMainsChanged || opcode == effStopProcess) && value == 0);
    if (opcode == effSetBlockSize || mayChangeCounts(opcode)) {
        bool changed = adapterTakeCounts(a);
        prepare(a, audioStopped);
        if (changed) a->host(&a->proxy, audioMasterIOChanged, 0, 0, nullptr, 0.0f);
    }
    if (audioStopped) freeRetired(a);
    return result;
}

}  // namespace

bool adapterTakeCounts(AdapterEffect* a) {
    // The counts of the core's records, which its next block takes on; a field is written only
    // when it changes, as the host's audio thread reads them.
    AEffect& p = a->proxy;
    const int32_t inputs = namedCount(a, "NUMCHANNELS", p.numInputs);
    const int32_t outputs = namedCount(a, "NUMSPEAKERS", p.numOutputs);
    const int32_t params = a->inner->numParams;
    if (p.numInputs == inputs && p.numOutputs == outputs && p.numParams == params) return false;
    if (p.numInputs != inputs) p.numInputs = inputs;
    if (p.numOutputs != outputs) p.numOutputs = outputs;
    if (p.numParams != params) p.numParams = params;
    return true;
}

AdapterEffect* adapterWrap(AEffect* inner, audioMasterCallback host) {
    AdapterEffect* a = new (std::nothrow) AdapterEffect{};
    if (!a) {
        inner->dispatcher(inner, effClose, 0, 0, nullptr, 0.0f);
        return nullptr;
    }
    a->inner = inner;
    a->host = host;
    AEffect& p = a->proxy;
    p = *inner;
    p.dispatcher = proxyDispatcher;
    p.process = proxyProcess;
    p.processReplacing = proxyProcessReplacing;
    p.processDoubleReplacing = proxyProcessDouble;
    p.setParameter = proxySetParameter;
    p.getParameter = proxyGetParameter;
    p.object = a;
    p.user = nullptr;
#if !defined(_WIN32)
    p.flags &= ~effFlagsHasEditor;
#endif
    adapterTakeCounts(a);
    prepare(a, true);
    if (!a->scratch.load()) {
        inner->dispatcher(inner, effClose, 0, 0, nullptr, 0.0f);
        delete a;
        return nullptr;
    }
    inner->user = a;
    return a;
}
