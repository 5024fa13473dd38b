#include "engine/parameter_map.h"

#include <cstring>

#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/host_api.h"
#include "platform/platform.h"

ParameterRef decodeParameter(const SurroundPanner* p, int32_t index) {
    ParameterRef none = {POWNER_NONE, -1, -1};
    if (!p || index < 0 || index >= p->effect.numParams) return none;
    if (index < PARAMS_GLOBAL) return ParameterRef{POWNER_GLOBAL, -1, index};
    int inputs = inputCount(p);
    int rest = index - PARAMS_GLOBAL;
    if (rest < PARAMS_PER_INPUT * inputs) return ParameterRef{POWNER_INPUT, rest / PARAMS_PER_INPUT, rest % PARAMS_PER_INPUT};
    rest -= PARAMS_PER_INPUT * inputs;
    int speaker = rest / PARAMS_PER_SPEAKER;
    if (speaker >= speakerCount(p)) return none;
    return ParameterRef{POWNER_SPEAKER, speaker, rest % PARAMS_PER_SPEAKER};
}

double parameterPlainValue(const SurroundPanner* p, ParameterRef r) {
    switch (r.owner) {
        case POWNER_GLOBAL:
            switch (r.number) {
                case PG_CENTER: return p->centerPercent;
                case PG_SIDE: return p->sidePercent;
                case PG_ZSHAPE: return p->zShape;
                case PG_SCENE_X: return p->sceneX;
                case PG_SCENE_Y: return p->sceneY;
                default: return p->sceneZ;
            }
        case POWNER_INPUT: {
            const PanInput& in = inputRecords(p)[r.channel];
            switch (r.number) {
                case PI_GAIN: return in.gain;
                case PI_X: return in.posX;
                case PI_Y: return in.posY;
                case PI_Z: return in.posZ;
                case PI_LFE: return in.lfeSend;
                case PI_DIVERGENCE: return in.divergence;
                case PI_DELAY: return in.delay;
                case PI_MUTE: return in.mute;
                default: return in.solo;
            }
        }
        case POWNER_SPEAKER: {
            const PanSpeaker& s = speakerRecords(p)[r.channel];
            switch (r.number) {
                case PS_GAIN: return s.gain;
                case PS_MUTE: return s.mute;
                default: return s.solo;
            }
        }
        default: return 0.0;
    }
}

double parameterValue(const SurroundPanner* p, ParameterRef r) {
    const ParameterRow* row = findParameterRow(r.owner, r.number);
    return row ? normalisedFromPlain(*row, parameterPlainValue(p, r)) : 0.0;
}

static float clampUnit(double v) { return v >= 0.0 ? (v <= 1.0 ? float(v) : 1.0f) : 0.0f; }

float VST_CALL getParameter(AEffect* effect, int32_t index) {
    SurroundPanner* p = pannerFromEffect(effect);
    ParameterRef r = decodeParameter(p, index);
    return r.owner == POWNER_NONE ? 0.0f : clampUnit(parameterValue(p, r));
}

// ---- gestures: a sorted list of (parameter index, byte) ----

struct GestureEntry {
    int32_t key;
    uint8_t value;
};

// Scene parameters sort before all others; within each, higher indices come first.
static int32_t gestureOrder(int32_t key) { return (key >= PG_SCENE_X && key <= PG_SCENE_Z) ? key + 16384 : key; }

// Bisection: the position of key, or where it belongs; *found tells which.
static int findGesture(const SurroundPanner* p, int32_t key, bool* found) {
    const GestureEntry* list = p->openGestures.data();
    int lo = 0, hi = p->openGestures.size();
    int32_t want = gestureOrder(key);
    while (lo < hi) {
        int mid = (lo + hi) / 2;
        if (gestureOrder(list[mid].key) > want) lo = mid + 1;
        else hi = mid;
    }
    *found = lo < p->openGestures.size() && list[lo].key == key;
    return lo;
}

static void hostCall(SurroundPanner* p, int32_t opcode, int32_t index, float value) {
    if (hostCallback) hostCallback(&p->effect, opcode, index, 0, nullptr, value);
}

void notifyParameter(SurroundPanner* p, int input, int speaker, int code) {
    int32_t index;
    if (input >= 0) index = parameterIndex(POWNER_INPUT, input, code, inputCount(p));
    else if (speaker >= 0) index = parameterIndex(POWNER_SPEAKER, speaker, code, inputCount(p));
    else index = code <= PG_SCENE_Z ? code : -1;
    if (index < 0) return;
    // A gesture opens on the first change of a parameter.
    bool found;
    int at = findGesture(p, index, &found);
    if (!found) {
        int count = p->openGestures.size();
        if (p->openGestures.resize(count + 1)) {
            GestureEntry* list = p->openGestures.data();
            std::memmove(list + at + 1, list + at, size_t(count - at) * sizeof(GestureEntry));
            list[at] = GestureEntry{index, 1};
        }
        hostCall(p, audioMasterBeginEdit, index, 0.0f);
    }
    // The present value goes out; the time of the last change.
    ParameterRef r = decodeParameter(p, index);
    hostCall(p, audioMasterAutomate, index, r.owner == POWNER_NONE ? 0.0f : clampUnit(parameterValue(p, r)));
    uint32_t now = tickCount();
    p->lastGestureTick = now ? now : 1;  // 0 means no gesture
}

void endGestures(SurroundPanner* p) {
    const GestureEntry* list = p->openGestures.data();
    int count = p->openGestures.size();
    for (int i = 0; i < count; i++) hostCall(p, audioMasterEndEdit, list[i].key, 0.0f);
    p->openGestures.resize(0);
    p->lastGestureTick = 0;
}

int openGestureKeys(const SurroundPanner* p, int32_t* keys, int capacity) {
    const GestureEntry* list = p->openGestures.data();
    int count = p->openGestures.size();
    int n = count < capacity ? count : capacity;
    for (int i = 0; i < n; i++) keys[i] = list[i].key;
    return n;
}
