#include "engine/parameter_map.h"

#include <cmath>
#include <cstring>

#include "engine/instance.h"
#include "engine/parameter_text.h"
#include "engine/records.h"
#include "foundation/host_api.h"
#include "platform/platform.h"

const ParameterRange PARAMETER_RANGES[] = {
    {POWNER_GLOBAL, PG_CENTER, "center %", 0, 1, PFORMAT_PERCENT},
    {POWNER_GLOBAL, PG_SIDE, "side %", 0, 1, PFORMAT_PERCENT},
    {POWNER_GLOBAL, PG_SCENE_X, "scene X", -1, 1, PFORMAT_POSITION},
    {POWNER_GLOBAL, PG_SCENE_Y, "scene Y", -1, 1, PFORMAT_POSITION},
    {POWNER_GLOBAL, PG_SCENE_Z, "scene Z", -1, 1, PFORMAT_POSITION},
    {POWNER_INPUT, PI_GAIN, "gain", 0, 1, PFORMAT_GAIN},
    {POWNER_INPUT, PI_X, "X", -1, 1, PFORMAT_POSITION},
    {POWNER_INPUT, PI_Y, "Y", -1, 1, PFORMAT_POSITION},
    {POWNER_INPUT, PI_Z, "Z", 0, 1, PFORMAT_POSITION},
    {POWNER_INPUT, PI_LFE, "LFE", 0, 1, PFORMAT_GAIN},
    {POWNER_INPUT, PI_DIVERGENCE, "divergence", 0, 1, PFORMAT_POSITION},
    {POWNER_INPUT, PI_DELAY, "delay", 0, 1, PFORMAT_DELAY},
    {POWNER_INPUT, PI_MUTE, "mute", 0, 1, PFORMAT_MUTE},
    {POWNER_INPUT, PI_SOLO, "solo", 0, 1, PFORMAT_SOLO},
    {POWNER_SPEAKER, PS_GAIN, "gain", 0, 1, PFORMAT_GAIN},
    {POWNER_SPEAKER, PS_MUTE, "mute", 0, 1, PFORMAT_MUTE},
    {POWNER_SPEAKER, PS_SOLO, "solo", 0, 1, PFORMAT_SOLO},
};
const int PARAMETER_RANGE_COUNT = int(sizeof PARAMETER_RANGES / sizeof PARAMETER_RANGES[0]);

// Gains and LFE sends reach 4.0 (+12 dB) at the top of the range; delays 40 ms.
constexpr double GAIN_RANGE = 4.0;
constexpr double DELAY_RANGE = 0.04;

const ParameterRange* findParameterRange(int owner, int number) {
    for (const ParameterRange& row : PARAMETER_RANGES)
        if (row.owner == owner && row.number == number) return &row;
    return nullptr;
}

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

static double fromRange(double v, double min, double max) { return (v - min) / (max - min); }

double parameterValue(const SurroundPanner* p, ParameterRef r) {
    switch (r.owner) {
        case POWNER_GLOBAL:
            switch (r.number) {
                case PG_CENTER: return p->centerPercent;
                case PG_SIDE: return p->sidePercent;
                case PG_ZSHAPE: return p->zShape / 6.0;
                case PG_SCENE_X: return fromRange(p->sceneX, -1, 1);
                case PG_SCENE_Y: return fromRange(p->sceneY, -1, 1);
                default: return fromRange(p->sceneZ, -1, 1);
            }
        case POWNER_INPUT: {
            const PanInput& in = inputRecords(p)[r.channel];
            switch (r.number) {
                case PI_GAIN: return in.gain / GAIN_RANGE;
                case PI_X: return fromRange(in.posX, -1, 1);
                case PI_Y: return fromRange(in.posY, -1, 1);
                case PI_Z: return in.posZ;
                case PI_LFE: return in.lfeSend / GAIN_RANGE;
                case PI_DIVERGENCE: return in.divergence;
                case PI_DELAY: return in.delay > 0.0 ? std::sqrt(in.delay / DELAY_RANGE) : 0.0;
                case PI_MUTE: return in.mute ? 1.0 : 0.0;
                default: return in.solo ? 1.0 : 0.0;
            }
        }
        case POWNER_SPEAKER: {
            const PanSpeaker& s = speakerRecords(p)[r.channel];
            switch (r.number) {
                case PS_GAIN: return s.gain / GAIN_RANGE;
                case PS_MUTE: return s.mute ? 1.0 : 0.0;
                default: return s.solo ? 1.0 : 0.0;
            }
        }
        default: return 0.0;
    }
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
    const GestureEntry* list = growItems<GestureEntry>(p->openGestures);
    int lo = 0, hi = growCount<GestureEntry>(p->openGestures);
    int32_t want = gestureOrder(key);
    while (lo < hi) {
        int mid = (lo + hi) / 2;
        if (gestureOrder(list[mid].key) > want) lo = mid + 1;
        else hi = mid;
    }
    *found = lo < growCount<GestureEntry>(p->openGestures) && list[lo].key == key;
    return lo;
}

static void hostCall(SurroundPanner* p, int32_t opcode, int32_t index, float value) {
    if (hostCallback) hostCallback(&p->effect, opcode, index, 0, nullptr, value);
}

void notifyParameter(SurroundPanner* p, int input, int speaker, int code) {
    int32_t index;
    if (input >= 0) index = input * PARAMS_PER_INPUT + PARAMS_GLOBAL + code;
    else if (speaker >= 0) index = speaker * PARAMS_PER_SPEAKER + code + PARAMS_GLOBAL + PARAMS_PER_INPUT * inputCount(p);
    else index = code <= PG_SCENE_Z ? code : -1;
    if (index < 0) return;
    // 1. A gesture opens on the first change of a parameter.
    bool found;
    int at = findGesture(p, index, &found);
    if (!found) {
        size_t count = size_t(growCount<GestureEntry>(p->openGestures));
        if (growBufferResize(&p->openGestures, (count + 1) * sizeof(GestureEntry))) {
            GestureEntry* list = growItems<GestureEntry>(p->openGestures);
            std::memmove(list + at + 1, list + at, (count - size_t(at)) * sizeof(GestureEntry));
            list[at] = GestureEntry{index, 1};
        }
        hostCall(p, audioMasterBeginEdit, index, 0.0f);
    }
    // 2, 3. The present value goes out; 4. the time of the last change.
    ParameterRef r = decodeParameter(p, index);
    hostCall(p, audioMasterAutomate, index, r.owner == POWNER_NONE ? 0.0f : clampUnit(parameterValue(p, r)));
    uint32_t now = tickCount();
    p->lastGestureTick = now ? now : 1;  // 0 means no gesture
}

void endGestures(SurroundPanner* p) {
    const GestureEntry* list = growItems<GestureEntry>(p->openGestures);
    int count = growCount<GestureEntry>(p->openGestures);
    for (int i = 0; i < count; i++) hostCall(p, audioMasterEndEdit, list[i].key, 0.0f);
    growBufferResize(&p->openGestures, 0);
    p->lastGestureTick = 0;
}

int openGestureKeys(const SurroundPanner* p, int32_t* keys, int capacity) {
    const GestureEntry* list = growItems<GestureEntry>(p->openGestures);
    int count = growCount<GestureEntry>(p->openGestures);
    int n = count < capacity ? count : capacity;
    for (int i = 0; i < n; i++) keys[i] = list[i].key;
    return n;
}
