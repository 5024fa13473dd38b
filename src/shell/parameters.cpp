#include "shell/parameters.h"

#include <cstdio>

#include "engine/instance.h"
#include "engine/parameter_text.h"
#include "engine/position.h"
#include "engine/records.h"
#include "foundation/localize.h"
#include "platform/platform.h"

namespace {

const char* const TEXT_SECTION = "kelvanepan";
constexpr uint32_t SCENE_EDIT_PAUSE_MS = 1000;

// Values that the host sends are compared with the stored ones at the host's precision.
bool sameAsFloat(double stored, double incoming) { return float(stored) == float(incoming); }

void correctSelection(SurroundPanner* p) {
    bool soloed = anyInputSolo(p);
    for (int i = 0; i < inputCount(p); i++) {
        PanInput& in = inputRecords(p)[i];
        if (soloed ? !in.solo : (in.mute && !in.solo)) in.selected = 0;
    }
}

void setGlobal(SurroundPanner* p, int number, double normalised) {
    double v = plainFromNormalised(*findParameterRow(POWNER_GLOBAL, number), normalised);
    switch (number) {
        case PG_CENTER:
        case PG_SIDE: {
            double& field = number == PG_CENTER ? p->centerPercent : p->sidePercent;
            if (sameAsFloat(field, v)) return;
            sharedStore(field, v);
            markAllInputsDirty(p);
            return;
        }
        case PG_ZSHAPE: {
            int shape = int(v);
            if (shape != p->zShape) changeZShape(p, shape);
            return;
        }
        default: {
            // A stream of scene values is one edit as long as the gaps stay within a second.
            double values[3] = {p->sceneX, p->sceneY, p->sceneZ};
            values[number - PG_SCENE_X] = v;
            uint32_t now = tickCount();
            if (now - p->lastEditTick > SCENE_EDIT_PAUSE_MS) beginEdit(p);
            p->lastEditTick = now;
            setScene(p, values);
            p->sceneAutomated = 1;
            p->sceneAutomationTick = now ? now : 1;
        }
    }
}

void setInput(SurroundPanner* p, int i, int number, double normalised) {
    PanInput& in = inputRecords(p)[i];
    double v = plainFromNormalised(*findParameterRow(POWNER_INPUT, number), normalised);
    auto gainLike = [&](double& field, double value) {
        if (sameAsFloat(field, value)) return;
        sharedStore(field, value);
        markInputDirty(p, i);
    };
    switch (number) {
        case PI_GAIN: gainLike(in.gain, v); return;
        case PI_LFE: gainLike(in.lfeSend, v); return;
        case PI_DIVERGENCE: gainLike(in.divergence, v); return;
        case PI_X: setInputX(p, i, v); return;
        case PI_Y: setInputY(p, i, v); return;
        case PI_Z: setInputZ(p, i, v); return;
        case PI_DELAY: sharedStore(in.delay, v); return;  // the audio block reads it each block
        case PI_MUTE:
        case PI_SOLO:
            sharedStore(number == PI_MUTE ? in.mute : in.solo, uint8_t(v));
            correctSelection(p);
            return;
    }
}

void setSpeaker(SurroundPanner* p, int s, int number, double normalised) {
    PanSpeaker& spk = speakerRecords(p)[s];
    double v = plainFromNormalised(*findParameterRow(POWNER_SPEAKER, number), normalised);
    switch (number) {
        case PS_GAIN:
            if (spk.gain == v) return;
            sharedStore(spk.gain, v);
            markAllInputsDirty(p);
            return;
        case PS_MUTE: sharedStore(spk.mute, uint8_t(v)); return;
        case PS_SOLO: sharedStore(spk.solo, uint8_t(v)); return;
    }
}

int copyOut(char* out, int capacity, const char* text) {
    if (!out || capacity < 1) return 0;
    int n = std::snprintf(out, size_t(capacity), "%s", text);
    return n < 0 ? 0 : n < capacity ? n : capacity - 1;
}

}  // namespace

void VST_CALL setParameter(AEffect* effect, int32_t index, float value) {
    SurroundPanner* p = pannerFromEffect(effect);
    if (!p || p->pendingChannelChange) return;
    ParameterRef r = decodeParameter(p, index);
    switch (r.owner) {
        case POWNER_GLOBAL: setGlobal(p, r.number, value); return;
        case POWNER_INPUT: setInput(p, r.channel, r.number, value); return;
        case POWNER_SPEAKER: setSpeaker(p, r.channel, r.number, value); return;
        default: return;
    }
}

int parameterName(const SurroundPanner* p, int32_t index, char* out, int capacity) {
    ParameterRef r = decodeParameter(p, index);
    if (r.owner == POWNER_NONE) return copyOut(out, capacity, "");
    const ParameterRow* row = findParameterRow(r.owner, r.number);
    if (r.owner == POWNER_GLOBAL) return copyOut(out, capacity, localize(row->name, TEXT_SECTION, 0));
    if (!out || capacity < 1) return 0;
    int n = std::snprintf(out, size_t(capacity), "%s%d %s",
                          localize(r.owner == POWNER_INPUT ? "in " : "out ", TEXT_SECTION, 0), r.channel + 1,
                          localize(row->name, TEXT_SECTION, 0));
    return n < 0 ? 0 : n < capacity ? n : capacity - 1;
}

int parameterLabel(const SurroundPanner* p, int32_t index, char* out, int capacity) {
    ParameterRef r = decodeParameter(p, index);
    return copyOut(out, capacity, r.owner == POWNER_NONE ? "" : parameterUnit(findParameterRow(r.owner, r.number)->format));
}

int parameterDisplay(const SurroundPanner* p, int32_t index, char* out, int capacity, const double* value) {
    ParameterRef r = decodeParameter(p, index);
    if (r.owner == POWNER_NONE) return copyOut(out, capacity, "");
    double v = value ? *value : parameterValue(p, r);
    if (!value) v = v < 0.0 ? 0.0 : v > 1.0 ? 1.0 : v;
    return formatParameterValue(*findParameterRow(r.owner, r.number), v, out, capacity);
}

double parameterFromText(const SurroundPanner* p, int32_t index, const char* text) {
    ParameterRef r = decodeParameter(p, index);
    if (r.owner == POWNER_NONE) return 0.0;
    return parseParameterValue(*findParameterRow(r.owner, r.number), text);
}
