// A tiny VST 2 effect with one fault chosen by the environment variable KVP_FAULT, used to check
// that the validation battery catches it: "nan" writes a NaN, "skip" leaves output 1 unwritten,
// "overrun" writes one sample past the block, "state" saves a different chunk after every load,
// "jump" lets a gain change jump instead of ramping, "alloc" allocates in every audio block,
// "shortchunk" crashes on a chunk shorter than the one it saves. Without the variable it behaves.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "vst/aeffect.h"

namespace {

struct Faulty {
    AEffect effect;
    const char* fault;
    float gain;
    unsigned char chunk[8];
    int loads;
};

bool is(const Faulty* f, const char* name) { return f->fault && std::strcmp(f->fault, name) == 0; }

intptr_t VST_CALL dispatch(AEffect* e, int32_t opcode, int32_t, intptr_t value, void* ptr, float) {
    Faulty* f = static_cast<Faulty*>(e->object);
    switch (opcode) {
        case effClose: delete f; return 0;
        case effGetParamName: std::strcpy(static_cast<char*>(ptr), "gain"); return 0;
        case effGetParamLabel: static_cast<char*>(ptr)[0] = 0; return 0;
        case effGetParamDisplay: std::strcpy(static_cast<char*>(ptr), f->gain >= 0.5f ? "loud" : "soft"); return 1;
        case effGetChunk:
            f->chunk[0] = uint8_t(is(f, "state") ? f->loads : 0);
            *static_cast<void**>(ptr) = f->chunk;
            return sizeof f->chunk;
        case effSetChunk:
            if (is(f, "shortchunk") && value < intptr_t(sizeof f->chunk)) __builtin_trap();
            f->loads++;
            return 0;
        default: return 0;
    }
}

void VST_CALL processDouble(AEffect* e, double** in, double** out, int32_t frames) {
    Faulty* f = static_cast<Faulty*>(e->object);
    if (is(f, "alloc")) {
        void* volatile scratch = std::malloc(size_t(frames) * sizeof(double) + 1);
        std::free(scratch);
    }
    for (int o = 0; o < e->numOutputs; o++) {
        if (is(f, "skip") && o == 1) continue;
        for (int n = 0; n < frames; n++) out[o][n] = in[o % e->numInputs][n] * (is(f, "jump") ? f->gain : 0.5);
        if (is(f, "overrun")) out[o][frames] = 0.0;
    }
    if (is(f, "nan") && frames > 0 && e->numOutputs > 0) out[0][frames - 1] = std::nan("");
}

void VST_CALL processFloat(AEffect*, float**, float**, int32_t) {}
void VST_CALL setParameter(AEffect* e, int32_t, float v) { static_cast<Faulty*>(e->object)->gain = v * 16.0f; }
float VST_CALL getParameter(AEffect* e, int32_t) { return static_cast<Faulty*>(e->object)->gain / 16.0f; }

}  // namespace

#if defined(_WIN32)
#define FAULTY_EXPORT extern "C" __declspec(dllexport)
#else
#define FAULTY_EXPORT extern "C" __attribute__((visibility("default")))
#endif

FAULTY_EXPORT AEffect* VST_CALL VSTPluginMain(audioMasterCallback host) {
    if (!host) return nullptr;
    intptr_t n = host(nullptr, int32_t(0xDEADBEEF), int32_t(0xDEADF00E), 5, nullptr, 0.0f);
    if (n < 1 || n > 128) n = 2;
    Faulty* f = new Faulty();
    f->fault = std::getenv("KVP_FAULT");
    f->gain = 0.5f;
    f->effect.magic = kEffectMagic;
    f->effect.dispatcher = dispatch;
    f->effect.process = processFloat;
    f->effect.processReplacing = processFloat;
    f->effect.processDoubleReplacing = processDouble;
    f->effect.setParameter = setParameter;
    f->effect.getParameter = getParameter;
    f->effect.flags = effFlagsCanReplacing | effFlagsCanDoubleReplacing;
    f->effect.numParams = 1;
    f->effect.numInputs = int32_t(n);
    f->effect.numOutputs = int32_t(n);
    f->effect.object = f;
    return &f->effect;
}
