#include "shell/dispatcher.h"

#include <cstdio>
#include <cstring>
#include <strings.h>

#include "editor/dialog_frame.h"
#include "editor/editor.h"
#include "engine/position.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "foundation/host_api.h"
#include "foundation/numbers.h"
#include "layouts/layouts.h"
#include "platform/platform.h"
#include "roomview/paint.h"
#include "shell/panner.h"
#include "shell/parameters.h"
#include "shell/state_chunk.h"
#include "shell/theme.h"

const char* const EFFECT_NAME = "KelvanePan";
const char* const VENDOR_NAME = "Tarnwick";
const char* const PRODUCT_NAME = "KelvanePan";

namespace {

constexpr intptr_t CANDO_EXTENSION = intptr_t(0xBEEF0000u);
// The sample rates the effect accepts from the host, in Hz.
constexpr float SAMPLE_RATE_MIN = 1.0f;
constexpr float SAMPLE_RATE_MAX = 10000000.0f;
constexpr intptr_t VENDOR_DONE = 0xBEEF;
constexpr intptr_t VENDOR_KNOWN = 0xF00D;
constexpr int TEXT_CAPACITY = 256;     // the parameter text calls fill up to this much
constexpr int NAME_CAPACITY = 32;      // effect, vendor and product names
constexpr uint32_t SCENE_TIMEOUT_MS = 1000;

// Vendor calls, by index.
enum : int32_t {
    VENDOR_PARAMETER_RANGE = int32_t(0xDEADBEF0),
    VENDOR_VALUE_TEXT = 7,
    VENDOR_TEXT_VALUE = 27,
    VENDOR_CHANNEL_NOTICE = 42,
    VENDOR_VIEW = 16,
    VENDOR_READ_NAMED = 23,
    VENDOR_WRITE_NAMED = 24,
};
// What the host is told with audioMasterVendorSpecific, index HOST_LOOKUP_OPCODE.
constexpr intptr_t HOST_NOTE_SHIFT = 0;
constexpr intptr_t HOST_NOTE_COUNTS = 13;

struct CanDoAnswer {
    const char* text;
    intptr_t answer;
};
const CanDoAnswer CAN_DO[] = {
    {"hasTarnwickExtensions", CANDO_EXTENSION},
    {"hasTarnwickViewAsConfig", CANDO_EXTENSION},
    {"hasTarnwickEmbeddedUI", CANDO_EXTENSION},
    {"wantsChannelCountNotifications", 1},
};

// The family letter of "NUMSPEAKERS", by family.
const char* const FAMILY_LETTERS[4] = {"", "Q", "I", "A"};

void copyText(void* ptr, const char* text, size_t capacity) {
    if (ptr) std::snprintf(static_cast<char*>(ptr), capacity, "%s", text);
}

intptr_t canDo(const char* text) {
    if (!text) return 0;
    for (const CanDoAnswer& row : CAN_DO)
        if (std::strcmp(row.text, text) == 0) return row.answer;
    return 0;
}

void hostNote(SurroundPanner* p, int32_t opcode, int32_t index, intptr_t value, void* ptr) {
    if (hostCallback) hostCallback(&p->effect, opcode, index, value, ptr, 0.0f);
}

// The host stopped audio: the next block rebuilds its tables from fresh speaker analysis.
void suspend(SurroundPanner* p) {
    LockHold hold(&p->stateLock);
    analyzeSpeakers(p);
    std::memset(p->meterPeaks, 0, sizeof p->meterPeaks);
    p->audioInputs = -1;
    p->audioSpeakers = -1;
}

intptr_t parameterProperties(SurroundPanner* p, int32_t index, void* ptr) {
    if (!ptr) return 0;
    VstParameterProperties* props = static_cast<VstParameterProperties*>(ptr);
    ParameterRef r = decodeParameter(p, index);
    bool isSwitch = (r.owner == POWNER_INPUT && (r.number == PI_MUTE || r.number == PI_SOLO)) ||
                    (r.owner == POWNER_SPEAKER && (r.number == PS_MUTE || r.number == PS_SOLO));
    bool isZShape = r.owner == POWNER_GLOBAL && r.number == PG_ZSHAPE;
    if (!isSwitch && !isZShape) return 0;
    props->flags = isSwitch ? (kVstParameterIsSwitch | kVstParameterUsesIntegerMinMax | kVstParameterUsesIntStep)
                            : (kVstParameterUsesIntegerMinMax | kVstParameterUsesIntStep);
    props->minInteger = 0;
    props->maxInteger = isSwitch ? 1 : 6;
    props->stepInteger = 1;
    props->largeStepInteger = 1;
    return 1;
}

void setSpeakerArrangement(SurroundPanner* p, intptr_t inputArrangement, void* outputArrangement) {
    if (!inputArrangement || !outputArrangement) return;
    int c = static_cast<VstSpeakerArrangement*>(outputArrangement)->numChannels;
    if (p->pendingChannelChange || p->stateLoaded || p->layoutChosenOnce) return;
    if (c <= speakerCount(p) || p->layoutId == LAYOUT_CUSTOM) return;
    p->layoutChosenOnce = 1;
    notePendingChange(p, false);
    applyLayout(p, layoutForChannelCount(c));
}

// The host's channel count: the speakers only ever grow this way, once, and never over a
// hand-made arrangement or a loaded state.
void channelNotice(SurroundPanner* p, intptr_t c) {
    if (p->pendingChannelChange || p->stateLoaded || p->layoutChosenOnce) return;
    p->layoutChosenOnce = 1;
    if (c > speakerCount(p) && p->layoutId != LAYOUT_CUSTOM) {
        notePendingChange(p, false);
        applyLayout(p, layoutForChannelCount(int(c)));
    }
    analyzeSpeakers(p);
}

intptr_t readNamed(SurroundPanner* p, const char* name, char* out, int capacity) {
    if (!out || capacity < 1) return 0;
    if (std::strcmp(name, "NUMCHANNELS") == 0) {
        std::snprintf(out, size_t(capacity), "%d", inputCount(p));
        return VENDOR_KNOWN;
    }
    if (std::strcmp(name, "NUMSPEAKERS") == 0) {
        int family = p->layoutFamily >= 1 && p->layoutFamily <= 3 ? p->layoutFamily : 0;
        std::snprintf(out, size_t(capacity), "%d%s", speakerCount(p), FAMILY_LETTERS[family]);
        return VENDOR_KNOWN;
    }
    return 0;
}

void writeNamed(SurroundPanner* p, const char* name, const char* text) {
    if (std::strcmp(name, "NUMCHANNELS") == 0) {
        int n = parseLeadingInt(text);
        if (n < 1 || n > 128) return;
        notePendingChange(p, true);
        setInputCount(p, n);
        finishEdit(p, true);
    } else if (std::strcmp(name, "NUMSPEAKERS") == 0) {
        int count = parseLeadingInt(text);
        if (count < 1 || count > 128) return;
        size_t length = std::strlen(text);
        char last = length ? text[length - 1] : 0;
        int family = last == 'Q' ? 1 : last == 'I' ? 2 : last == 'A' ? 3 : 0;
        int id = lookupLayout(-1, &family, &count);
        notePendingChange(p, true);
        applyLayout(p, id);
    } else if (std::strcmp(name, "RESETCHANNELS") == 0) {
        if (strcasecmp(text, "LFE") == 0) setLfeChannel(p, true);
        if (strcasecmp(text, "!LFE") == 0) setLfeChannel(p, false);
        resetInputPositions(p, -1);
        finishEdit(p, true);
    }
}

intptr_t vendorSpecific(SurroundPanner* p, int32_t index, intptr_t value, void* ptr, float opt) {
    switch (index) {
        case VENDOR_PARAMETER_RANGE: {
            if (!ptr) return 0;
            ParameterRef r = decodeParameter(p, int32_t(value));
            bool x = (r.owner == POWNER_INPUT && r.number == PI_X) || (r.owner == POWNER_GLOBAL && r.number == PG_SCENE_X);
            if (!x) return 0;
            double* range = static_cast<double*>(ptr);
            range[0] = 1.0;
            range[1] = 0.0;
            return VENDOR_DONE;
        }
        case VENDOR_VALUE_TEXT: {
            if (!ptr) return 0;
            double v = opt;
            parameterDisplay(p, int32_t(value), static_cast<char*>(ptr), TEXT_CAPACITY, &v);
            return VENDOR_DONE;
        }
        case VENDOR_TEXT_VALUE: {
            if (!ptr) return 0;
            double v = parameterFromText(p, int32_t(value), static_cast<const char*>(ptr));
            std::snprintf(static_cast<char*>(ptr), TEXT_CAPACITY, "%f", v);
            return VENDOR_DONE;
        }
        case VENDOR_CHANNEL_NOTICE: channelNotice(p, value); return 0;
        case VENDOR_VIEW:
            if (intptr_t r = 0; smallViewMessage(p, int(opt), value, ptr, themeColours, &r)) return r;
            return editorViewMessage(p, int(opt), static_cast<int32_t*>(ptr));
        case VENDOR_READ_NAMED:
            if (!ptr || !value) return 0;
            return readNamed(p, reinterpret_cast<const char*>(value), static_cast<char*>(ptr), int(opt));
        case VENDOR_WRITE_NAMED:
            if (ptr && value) writeNamed(p, reinterpret_cast<const char*>(value), static_cast<const char*>(ptr));
            return 0;
        default: return 0;
    }
}

// Idle work: stale gestures, the end of a scene automation, and channel changes for the host.
void idle(SurroundPanner* p) {
    uint32_t now = tickCount();
    // Stale gestures of the editor close first.
    editorIdle(p, now);
    // A second after the last scene value from the host, the scene's edit ends.
    if (p->sceneAutomationTick && now - p->sceneAutomationTick > SCENE_TIMEOUT_MS) {
        beginEdit(p);
        recomputeScene(p);
        p->sceneAutomationTick = 0;
    }
    // A channel change: the host shifts its automation, then learns the counts.
    uint32_t pending = p->pendingChannelChange;
    if (!pending) return;
    p->pendingChannelChange = 0;
    int a = int(pending & 0xFF), b = int((pending >> 8) & 0xFF);
    bool forced = pending & PENDING_FORCED;
    int n = inputCount(p), m = speakerCount(p);
    if (n != a) {
        int32_t shift[2] = {parameterIndex(POWNER_INPUT, n < a ? n : a, 0, n), (n - a) * PARAMS_PER_INPUT};
        hostNote(p, audioMasterVendorSpecific, HOST_LOOKUP_OPCODE, HOST_NOTE_SHIFT, shift);
    }
    if (m != b) {
        int32_t shift[2] = {parameterIndex(POWNER_SPEAKER, m < b ? m : b, 0, n), (m - b) * PARAMS_PER_SPEAKER};
        hostNote(p, audioMasterVendorSpecific, HOST_LOOKUP_OPCODE, HOST_NOTE_SHIFT, shift);
    }
    if (n != a || m != b) {
        p->effect.numParams = parameterCount(n, m);
        intptr_t counts = intptr_t(n) << 12 | 0xF00 | intptr_t(m) << 20;
        hostNote(p, audioMasterVendorSpecific, HOST_LOOKUP_OPCODE, HOST_NOTE_COUNTS, reinterpret_cast<void*>(counts));
    }
    if (m != b && forced) {
        hostNote(p, audioMasterVendorSpecific, HOST_LOOKUP_OPCODE, HOST_NOTE_COUNTS, reinterpret_cast<void*>(intptr_t(m)));
        hostNote(p, audioMasterIOChanged, 0, 0, nullptr);
    }
}

}  // namespace

intptr_t VST_CALL dispatcher(AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    SurroundPanner* p = pannerFromEffect(effect);
    if (!p) return 0;
    switch (opcode) {
        case effOpen:
            hostNote(p, audioMasterNeedIdle, 0, 0, nullptr);
            return 0;
        case effClose:
            destroyPanner(p);
            return 0;
        case effGetParamLabel:
            if (ptr) parameterLabel(p, index, static_cast<char*>(ptr), TEXT_CAPACITY);
            return 0;
        case effGetParamDisplay:
            if (!ptr) return 0;
            parameterDisplay(p, index, static_cast<char*>(ptr), TEXT_CAPACITY, nullptr);
            return 1;
        case effGetParamName:
            if (ptr) parameterName(p, index, static_cast<char*>(ptr), TEXT_CAPACITY);
            return 0;
        case effSetSampleRate:
            // A rate no audio device runs at is ignored; it would size delay lines absurdly.
            if (opt >= SAMPLE_RATE_MIN && opt <= SAMPLE_RATE_MAX) sharedStore(p->sampleRate, double(opt));
            return 0;
        case effMainsChanged:
        case effStopProcess:
            if (value == 0) suspend(p);
            return 0;
        case effEditGetRect:
            return editorGetRect(p, ptr);
        case effEditOpen:
            return editorOpen(p, ptr);
        case effEditClose:
            editorClose(p);
            return 0;
        case effGetChunk:
            return ptr ? saveState(p, static_cast<void**>(ptr)) : 0;
        case effSetChunk:
            loadState(p, ptr, int32_t(value));
            return 0;
        case effCanBeAutomated:
            return (index >= 0 && index < effect->numParams && (index < PG_ZSHAPE || index > PG_SCENE_Z)) ? 1 : 0;
        case effGetPlugCategory:
            return kPlugCategEffect;
        case effSetSpeakerArrangement:
            setSpeakerArrangement(p, value, ptr);
            return 0;
        case effGetEffectName:
            copyText(ptr, EFFECT_NAME, NAME_CAPACITY);
            return 0;
        case effGetVendorString:
            copyText(ptr, VENDOR_NAME, NAME_CAPACITY);
            return 0;
        case effGetProductString:
            copyText(ptr, PRODUCT_NAME, NAME_CAPACITY);
            return 0;
        case effVendorSpecific:
            return vendorSpecific(p, index, value, ptr, opt);
        case effCanDo:
            return canDo(static_cast<const char*>(ptr));
        case effGetTailSize:
            return 1;
        case effIdle:
            idle(p);
            return 1;
        case effGetParameterProperties:
            return parameterProperties(p, index, ptr);
        case effGetVstVersion:
            return 2400;
        default:
            return 0;
    }
}
