// The dialog's stamps and the plan of its tick.
#include "editor/dialog_stamps.h"

#include <cstring>

#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/host_api.h"
#include "foundation/numbers.h"

int32_t controlsUpdating = 0;

namespace {

// The pieces a stamp is made of: small integers as one byte of value + 1, flag words and
// doubles as their bytes, names without the NUL.
struct Hasher {
    uint64_t hash = FNV_OFFSET_BASIS;
    void small(int32_t v) {
        uint8_t b = uint8_t(v + 1);
        hash = fnv64(&b, 1, hash);
    }
    void byte(uint8_t b) { hash = fnv64(&b, 1, hash); }
    void word(uint32_t v) { hash = fnv64(&v, sizeof v, hash); }
    void real(double v) { hash = fnv64(&v, sizeof v, hash); }
    void name(const char* text) { hash = fnv64(text, strnlen(text, 64), hash); }
};

uint64_t valuesStamp(const SurroundPanner* p) {
    Hasher h;
    h.word(p->uiFlags);
    h.small(p->firstInputStrip);
    const PanInput* in = inputRecords(p);
    for (int i = 0, n = inputCount(p); i < n; i++) {
        h.byte(uint8_t((in[i].mute ? 1 : 0) | (in[i].solo ? 2 : 0) | (in[i].reverseX ? 4 : 0) |
                       (in[i].reverseY ? 8 : 0) | (in[i].reverseZ ? 16 : 0)));
        h.real(sharedLoad(in[i].gain));
        h.real(sharedLoad(in[i].lfeSend));
        h.real(sharedLoad(in[i].divergence));
        h.real(sharedLoad(in[i].delay));
    }
    h.word(p->channelOptions);
    h.small(p->layoutId);
    h.small(p->firstSpeakerStrip);
    const PanSpeaker* sp = speakerRecords(p);
    for (int s = 0, n = speakerCount(p); s < n; s++) {
        h.byte(uint8_t((sp[s].mute ? 1 : 0) | (sp[s].solo ? 2 : 0)));
        h.real(sharedLoad(sp[s].gain));
        h.real(sharedLoad(sp[s].influence));
    }
    for (int32_t mode : p->editRowMode) h.small(mode);
    h.real(sharedLoad(p->centerPercent));
    h.real(sharedLoad(p->sidePercent));
    return h.hash;
}

uint64_t positionRowStamp(const SurroundPanner* p) {
    Hasher h;
    int32_t focus = p->selectionState[SELECTION_FOCUS];
    if (focus >= 0 && focus < inputCount(p)) {
        const PanInput& in = inputRecords(p)[focus];
        h.real(sharedLoad(in.posX));
        h.real(sharedLoad(in.posY));
        h.real(sharedLoad(in.posZ));
        h.small(p->zShape);
    } else if (focus >= SELECT_SPEAKER && focus - SELECT_SPEAKER < speakerCount(p) && p->layoutId == 0) {
        const PanSpeaker& sp = speakerRecords(p)[focus - SELECT_SPEAKER];
        h.real(sharedLoad(sp.posX));
        h.real(sharedLoad(sp.posY));
        h.real(sharedLoad(sp.posZ));
    }
    return h.hash;
}

uint64_t valueRowStamp(const SurroundPanner* p) {
    Hasher h;
    h.small(p->selectionState[SELECTION_VALUE_INPUT]);
    h.small(p->selectionState[SELECTION_VALUE_SPEAKER]);
    h.small(p->selectionState[SELECTION_VALUE_KIND]);
    double value;
    if (valueRowValue(p, &value)) h.real(value);
    return h.hash;
}

uint64_t layoutStamp(const SurroundPanner* p) {
    Hasher h;
    h.small(p->firstInputStrip);
    h.small(inputCount(p));
    h.small(p->firstSpeakerStrip);
    h.small(speakerCount(p));
    return h.hash;
}

uint64_t namesStamp(const SurroundPanner* p) {
    Hasher h;
    const PanInput* in = inputRecords(p);
    int inputs = inputCount(p);
    uint8_t selectedSet[16] = {0};
    for (int i = 0; i < inputs; i++) {
        h.name(in[i].name);
        h.word(in[i].color);
        if (i < 128 && in[i].selected && !(p->uiFlags & FLAG_EDIT_ALL)) selectedSet[i / 8] |= uint8_t(1u << (i % 8));
    }
    h.hash = fnv64(selectedSet, sizeof selectedSet, h.hash);
    const PanSpeaker* sp = speakerRecords(p);
    for (int s = 0, n = speakerCount(p); s < n; s++) {
        if (sp[s].vacant) h.byte(0xFF);
        else h.name(sp[s].name);
    }
    h.small(p->firstInputStrip);
    h.small(p->firstSpeakerStrip);
    return h.hash;
}

uint64_t hostStateStamp(const SurroundPanner* p) {
    Hasher h;
    h.small(int32_t((p->uiFlags & UI_VIEW_MODE_MASK) >> UI_VIEW_MODE_SHIFT));
    h.small(p->layoutId);
    h.small(p->layoutFamily);
    h.word(p->channelOptions);
    h.small(inputCount(p));
    h.small(speakerCount(p));
    const PanInput* in = inputRecords(p);
    for (int i = 0, n = inputCount(p); i < n; i++)
        h.byte(uint8_t((in[i].selected ? 1 : 0) | (in[i].reverseX ? 2 : 0) | (in[i].reverseY ? 4 : 0) |
                       (in[i].reverseZ ? 8 : 0)));
    return h.hash;
}

// A pointer drag of the view is running: an input or speaker is held, or an orbit or marquee.
bool viewDragRunning(const SurroundPanner* p) {
    return p->dragState[1] >= 0 || p->dragState[2] >= 0 || p->dragState[3] != 0 || p->dragState[4] != 0;
}

}  // namespace

bool valueRowValue(const SurroundPanner* p, double* out) {
    int32_t input = p->selectionState[SELECTION_VALUE_INPUT];
    int32_t speaker = p->selectionState[SELECTION_VALUE_SPEAKER];
    int32_t kind = p->selectionState[SELECTION_VALUE_KIND];
    if (input >= 0 && input < inputCount(p) && kind >= 0 && kind <= 3) {
        const PanInput& in = inputRecords(p)[input];
        const double* fields[4] = {&in.gain, &in.lfeSend, &in.divergence, &in.delay};
        *out = sharedLoad(*fields[kind]);
        return true;
    }
    if (speaker >= 0 && speaker < speakerCount(p) && (kind == 4 || kind == 5)) {
        const PanSpeaker& sp = speakerRecords(p)[speaker];
        *out = sharedLoad(kind == 4 ? sp.gain : sp.influence);
        return true;
    }
    return false;
}

uint64_t computeStamp(const SurroundPanner* p, int which) {
    switch (which) {
        case STAMP_VALUES: return valuesStamp(p);
        case STAMP_POSITION_ROW: return positionRowStamp(p);
        case STAMP_VALUE_ROW: return valueRowStamp(p);
        case STAMP_LAYOUT: return layoutStamp(p);
        case STAMP_NAMES: return namesStamp(p);
        case STAMP_HOST_STATE: return hostStateStamp(p);
        default: return FNV_OFFSET_BASIS;
    }
}

bool updateStamp(SurroundPanner* p, int which) {
    if (which < 0 || which >= STAMP_COUNT) return false;
    uint64_t stamp = computeStamp(p, which);
    bool changed = stamp != p->editorStamps[which];
    p->editorStamps[which] = stamp;
    return changed;
}

uint32_t planTick(SurroundPanner* p) {
    uint32_t plan = 0;
    // After a move of a view drag the tick refreshes; while a drag rests it does nothing.
    if (p->viewBusy) {
        p->viewBusy = 0;
        plan |= TICK_RESTART_TIMER;
    } else if (viewDragRunning(p)) {
        return TICK_SKIPPED;
    }

    // All five dialog stamps first, so that each refresh sees them all current.
    bool positionRow = updateStamp(p, STAMP_POSITION_ROW);
    bool values = updateStamp(p, STAMP_VALUES);
    bool valueRow = updateStamp(p, STAMP_VALUE_ROW);
    bool layout = updateStamp(p, STAMP_LAYOUT);
    bool names = updateStamp(p, STAMP_NAMES);

    if (positionRow) plan |= TICK_POSITION_ROW;
    if (layout) plan |= TICK_RELAYOUT;
    if (values) plan |= TICK_REFRESH_ALL | (names ? uint32_t(TICK_REBUILD_LISTS) : 0u);
    if (valueRow) plan |= TICK_VALUE_ROW;
    if (names) plan |= TICK_NAMES;
    if (p->roomBitmap) plan |= TICK_VIEW_STAMPS;
    plan |= TICK_METERS;
    if (updateStamp(p, STAMP_HOST_STATE)) plan |= TICK_HOST_STATE;
    if (positionRow && p->dragState[2] >= 0) plan |= TICK_UPDATE_WINDOW;
    return plan;
}

void notifyHostStateChanged(SurroundPanner* p) {
    if (hostCallback) hostCallback(&p->effect, audioMasterAutomate, -1, 0, nullptr, 0.0f);
}
