#include "editor/selected_controls.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

#include "editor/dialog_stamps.h"
#include "editor/value_kinds.h"
#include "engine/instance.h"
#include "engine/parameter_map.h"
#include "engine/position.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "foundation/host_api.h"
#include "foundation/localize.h"
#include "layouts/layouts.h"

const int32_t LOCKED_CONTROLS[] = {
    IDC_EDIT_ROW_LIST_1,        IDC_EDIT_ROW_LIST_1 + 1,    IDC_EDIT_ROW_LIST_1 + 2,
    IDC_EDIT_ROW_REFLECT_1,     IDC_EDIT_ROW_REFLECT_1 + 1, IDC_EDIT_ROW_REFLECT_1 + 2,
    IDC_EDIT_ROW_RESET_1,       IDC_EDIT_ROW_RESET_1 + 1,   IDC_EDIT_ROW_RESET_1 + 2,
};
const int LOCKED_CONTROL_COUNT = int(sizeof LOCKED_CONTROLS / sizeof LOCKED_CONTROLS[0]);

namespace {

const char* const SECTION = "kelvanepan";
constexpr double DEGREES = 180.0 / std::numbers::pi;
constexpr double DELAY_GROUP_MAX = 0.1;  // members of a group may go past the channel's 40 ms
constexpr double INFLUENCE_MAX = 2.0;
constexpr uint32_t STRIP_MODE_INPUT_MASK = 0xF;
constexpr uint32_t STRIP_MODE_SPEAKER_SHIFT = 4;
constexpr uint32_t STRIP_MODE_SPEAKER_MASK = 0xF0;

std::string format(const char* pattern, double value) {
    char text[64];
    std::snprintf(text, sizeof text, pattern, value);
    return text;
}

// A typed number that a record can take: a digit in the text and a finite value.
bool typedNumber(const char* text, double* value) {
    double v;
    if (!parseTypedNumber(text, &v) || !std::isfinite(v)) return false;
    *value = v;
    return true;
}

// A typed channel count: a number whose whole part lies in 1..128.
bool typedCount(const char* text, int* count) {
    double v;
    if (!typedNumber(text, &v) || !(v >= 1.0 && v < 129.0)) return false;
    *count = int(v);
    return true;
}

bool validInput(const SurroundPanner* p, int32_t i) { return i >= 0 && i < inputCount(p); }
bool validSpeaker(const SurroundPanner* p, int32_t s) { return s >= 0 && s < speakerCount(p); }
bool lfeInputOption(const SurroundPanner* p) { return (p->channelOptions & CHANNEL_OPTION_LFE_INPUT) != 0; }

// The position row's channel: an input, or a speaker of a hand-made arrangement; -1 when none.
int32_t focusedInput(const SurroundPanner* p) {
    int32_t f = p->selectionState[SELECTION_FOCUS];
    return validInput(p, f) ? f : -1;
}
int32_t focusedSpeaker(const SurroundPanner* p) {
    int32_t f = p->selectionState[SELECTION_FOCUS];
    if (p->layoutId != LAYOUT_CUSTOM || f < SELECT_SPEAKER) return -1;
    return validSpeaker(p, f - SELECT_SPEAKER) ? f - SELECT_SPEAKER : -1;
}

// Speakers' commands start after the inputs' when these would reach them.
int32_t speakerCommandBase(const SurroundPanner* p) {
    return std::max<int32_t>(MENU_SPEAKER_BASE, MENU_INPUT_BASE + inputCount(p));
}
// The input or speaker a channel menu's command names; false for neither.
bool channelOfCommand(const SurroundPanner* p, int32_t command, bool speakers, int32_t* channel, bool* isSpeaker) {
    int32_t base = speakerCommandBase(p);
    if (speakers && command >= base && validSpeaker(p, command - base)) {
        *channel = command - base;
        *isSpeaker = true;
        return true;
    }
    if (command < base && validInput(p, command - MENU_INPUT_BASE)) {
        *channel = command - MENU_INPUT_BASE;
        *isSpeaker = false;
        return true;
    }
    return false;
}

void addChannelItems(const SurroundPanner* p, std::vector<PopupItem>* menu, bool speakers, int32_t checked) {
    if (speakers) {
        const PanSpeaker* sp = speakerRecords(p);
        for (int s = 0; s < speakerCount(p); s++)
            menu->push_back({sp[s].name, speakerCommandBase(p) + s, s == checked, false});
    } else {
        const PanInput* in = inputRecords(p);
        for (int i = 0; i < inputCount(p); i++) menu->push_back({in[i].name, MENU_INPUT_BASE + i, i == checked, false});
    }
}

double* workAxis(PanInput& in, int axis) { return axis == 0 ? &in.workX : axis == 1 ? &in.workY : &in.workZ; }
double* speakerAxis(PanSpeaker& sp, int axis) { return axis == 0 ? &sp.posX : axis == 1 ? &sp.posY : &sp.posZ; }

// The inputs a typed position moves with the focused input i.
bool inPositionGroup(const SurroundPanner* p, int i, int j) {
    if (lfeInputOption(p) && j == 3) return false;
    return j == i || inputRecords(p)[j].selected || (p->uiFlags & FLAG_EDIT_ALL);
}
// The inputs a typed value changes with the value row's input i; the LFE input is no exception.
bool inValueGroup(const SurroundPanner* p, int i, int j) {
    if (j == i || (p->uiFlags & FLAG_EDIT_ALL)) return true;
    return inputRecords(p)[i].selected && inputRecords(p)[j].selected;
}

// Height from an elevation over a floor distance r: the floor at or below 0, the ceiling from a
// right angle on.
double heightAt(double elevation, double r) {
    if (elevation <= 0.0) return 0.0;
    if (elevation >= std::numbers::pi / 2) return 1.0;
    return r * std::tan(elevation);
}

// Floor distance, azimuth and elevation of a point, 0 for the angles that have no direction.
struct Bearing {
    double r, azimuth, elevation;
};
Bearing bearingOf(double x, double y, double z) {
    Bearing b;
    b.r = std::sqrt(x * x + y * y);
    b.azimuth = (x == 0.0 && y == 0.0) ? 0.0 : std::atan2(x, y);
    b.elevation = (z == 0.0 && b.r == 0.0) ? 0.0 : std::atan2(z, b.r);
    return b;
}

// A typed edit of inputs ends: positions into the room, the host told, its gestures closed.
void endTypedInputEdit(SurroundPanner* p) {
    finishEdit(p, true);
    endGestures(p);
}
// A speaker moved by typing: analysed again, the gains rebuilt.
void speakerMoved(SurroundPanner* p) {
    analyzeSpeakers(p);
    sharedStore(p->speakersChanged, uint8_t(1));
}

double& inputField(PanInput& in, int kind) {
    switch (kind) {
        case KIND_INPUT_LFE: return in.lfeSend;
        case KIND_INPUT_DIVERGENCE: return in.divergence;
        case KIND_INPUT_DELAY: return in.delay;
        default: return in.gain;
    }
}

// The host's volume text of a gain without its unit: "+0.00 dB" shows as "+0.00". Empty when the
// host has no volume text.
std::string volumeText(double gain) {
    if (!hostApi.mkvolstr) return "";
    char text[64] = {0};
    hostApi.mkvolstr(text, gain);
    std::string s(text, strnlen(text, sizeof text - 1));
    if (s.size() >= 2 && s.compare(s.size() - 2, 2, "dB") == 0) {
        s.resize(s.size() - 2);
        if (!s.empty() && s.back() == ' ') s.pop_back();
    }
    return s;
}

// A value as its kind shows it.
std::string kindText(int kind, double value) {
    const ValueKind& k = VALUE_KINDS[kind];
    return k.textStyle == KIND_TEXT_VOLUME ? volumeText(value) : format(k.format, value * k.factor);
}

// Applies a typed value to the value row's input i and its group; false when the kind is no
// input's.
bool applyInputValue(SurroundPanner* p, int i, int kind, double v) {
    if (kind < KIND_INPUT_GAIN || kind > KIND_INPUT_DELAY) return false;
    PanInput* in = inputRecords(p);
    const bool level = kind == KIND_INPUT_GAIN || kind == KIND_INPUT_LFE;
    // The channel's target, and how far it is from where the channel stands.
    double target, step;
    if (level) {
        target = std::clamp(dbToAmp(v), 0.0, PARAMETER_GAIN_MAX);
        step = ampToDb(target) - ampToDb(sharedLoad(inputField(in[i], kind)));
    } else {
        target = kind == KIND_INPUT_DIVERGENCE ? std::clamp(v * 0.01, 0.0, 1.0)
                                               : std::clamp(v * 0.001, 0.0, PARAMETER_DELAY_MAX_SECONDS);
        step = target - sharedLoad(inputField(in[i], kind));
    }
    // The channel takes its target; the others of the group move by the same step.
    const double groupMax = level ? PARAMETER_GAIN_MAX : kind == KIND_INPUT_DIVERGENCE ? 1.0 : DELAY_GROUP_MAX;
    for (int j = 0; j < inputCount(p); j++) {
        if (!inValueGroup(p, i, j)) continue;
        double& field = inputField(in[j], kind);
        double now = sharedLoad(field);
        double moved = j == i ? target : level ? dbToAmp(ampToDb(now) + step) : now + step;
        sharedStore(field, std::clamp(moved, 0.0, groupMax));
        if (kind != KIND_INPUT_DELAY) markInputDirty(p, j);
        notifyParameter(p, j, -1, VALUE_KINDS[kind].hostCode);
    }
    return true;
}

bool applySpeakerValue(SurroundPanner* p, int s, int kind, double v) {
    PanSpeaker& sp = speakerRecords(p)[s];
    if (kind == KIND_SPEAKER_GAIN) {
        sharedStore(sp.gain, std::clamp(dbToAmp(v), 0.0, PARAMETER_GAIN_MAX));
        markAllInputsDirty(p);
        notifyParameter(p, -1, s, VALUE_KINDS[kind].hostCode);
        return true;
    }
    if (kind == KIND_SPEAKER_INFLUENCE) {
        sharedStore(sp.influence, std::clamp(v * 0.01, 0.0, INFLUENCE_MAX));
        sharedStore(p->speakersChanged, uint8_t(1));
        return true;
    }
    return false;
}

}  // namespace

std::string buttonName(const char* name) {
    std::string s = name ? name : "";
    if (!s.empty() && s[0] >= 'a' && s[0] <= 'z') s[0] = char(s[0] - 'a' + 'A');
    return s;
}

// ---- what the controls show ----

SwitchStates switchStates(const SurroundPanner* p) {
    SwitchStates st{};
    st.layoutEntry = -1;
    for (int k = 0; k < LAYOUT_ENTRIES && st.layoutEntry < 0; k++)
        if (LAYOUT_MENU_ORDER[k] == p->layoutId) st.layoutEntry = k;
    st.inputModeEntry = int32_t(p->uiFlags & STRIP_MODE_INPUT_MASK);
    st.speakerModeEntry = int32_t((p->uiFlags & STRIP_MODE_SPEAKER_MASK) >> STRIP_MODE_SPEAKER_SHIFT);
    st.inputCount = std::to_string(inputCount(p));
    st.speakerCount = std::to_string(speakerCount(p));
    st.lfeInput = lfeInputOption(p);
    st.lfeInputEnabled = inputCount(p) > 3;
    for (int s = 0; s < speakerCount(p); s++) st.lfeSpeaker = st.lfeSpeaker || speakerRecords(p)[s].lfe;
    st.lockSpeakers = (p->uiFlags & FLAG_LOCK_SPEAKERS) != 0;
    st.customLayout = p->layoutId == LAYOUT_CUSTOM;
    st.editAll = (p->uiFlags & FLAG_EDIT_ALL) != 0;
    st.editSelected = !st.editAll;
    st.edit1D = (p->uiFlags & FLAG_EDIT_1D) != 0;
    st.lockInputs = (p->uiFlags & FLAG_LOCK_INPUTS) != 0;
    st.respectFlip = !(p->uiFlags & FLAG_IGNORE_REVERSE);
    return st;
}

CenterSideView centerSideView(const SurroundPanner* p) {
    CenterSideView v{};
    double center = sharedLoad(p->centerPercent), side = sharedLoad(p->sidePercent);
    v.centerPosition = int32_t(std::lround(std::clamp(center, 0.0, 1.0) * 1000.0));
    v.sidePosition = int32_t(std::lround(std::clamp(side, 0.0, 1.0) * 1000.0));
    v.centerText = format("%.0f", center * 100.0);
    v.sideText = format("%.0f", side * 100.0);
    v.centerInForce = (p->speakerFlagsUnion & SPK_CENTERGROUP) != 0;
    v.sideInForce = (p->speakerFlagsUnion & SPK_SIDEGROUP) != 0;
    return v;
}

std::vector<std::string> editRowEntries(const SurroundPanner* p) {
    std::vector<std::string> entries;
    for (const char* mode : EDIT_MODE_NAMES) entries.push_back(localize(mode, SECTION, 0));
    const char* toward = localize("To ", SECTION, 0);
    const PanSpeaker* sp = speakerRecords(p);
    for (int s = 0; s < speakerCount(p); s++) {
        if (!isPanningSpeaker(sp[s])) continue;
        char text[160];
        std::snprintf(text, sizeof text, "%s%s", toward, sp[s].name);
        entries.push_back(text);
    }
    return entries;
}

void correctEditRowModes(SurroundPanner* p, int listCount) {
    for (int r = 0; r < EDIT_ROWS; r++)
        if (p->editRowMode[r] < 0 || p->editRowMode[r] >= listCount) p->editRowMode[r] = r;
}

PositionRowTexts positionRowTexts(const SurroundPanner* p) {
    PositionRowTexts row{};
    row.zEnabled = p->zShape == ZSHAPE_NONE;
    const char* name;
    double x, y, z;
    if (int32_t i = focusedInput(p); i >= 0) {
        const PanInput& in = inputRecords(p)[i];
        name = in.name;
        x = sharedLoad(in.posX), y = sharedLoad(in.posY), z = sharedLoad(in.posZ);
    } else if (int32_t s = focusedSpeaker(p); s >= 0) {
        const PanSpeaker& sp = speakerRecords(p)[s];
        name = sp.name;
        x = sharedLoad(sp.posX), y = sharedLoad(sp.posY), z = sharedLoad(sp.posZ);
    } else {
        return row;
    }
    row.name = buttonName(name);
    row.field[POS_FIELD_X] = format("%+.1f", x * 100.0);
    row.field[POS_FIELD_Y] = format("%+.1f", y * 100.0);
    row.field[POS_FIELD_Z] = format("%+.1f", z * 100.0);
    Spherical at = spherical(x, y, z);
    row.field[POS_FIELD_AZIMUTH] = format("%+.1f", at.azimuth * DEGREES);
    row.field[POS_FIELD_ELEVATION] = format("%+.1f", at.elevation * DEGREES);
    return row;
}

ValueRowTexts refreshValueRowState(SurroundPanner* p) {
    int32_t& input = p->selectionState[SELECTION_VALUE_INPUT];
    int32_t& speaker = p->selectionState[SELECTION_VALUE_SPEAKER];
    int32_t& kind = p->selectionState[SELECTION_VALUE_KIND];
    // A channel past its list goes; with none at all the row shows input 0.
    if (input >= inputCount(p)) input = -1;
    if (speaker >= speakerCount(p)) speaker = -1;
    if (input < 0 && speaker < 0) input = 0;
    // A kind of the other side gives way to the strip mode of the row's side.
    int32_t inputMode = int32_t(p->uiFlags & STRIP_MODE_INPUT_MASK);
    int32_t speakerMode = int32_t((p->uiFlags & STRIP_MODE_SPEAKER_MASK) >> STRIP_MODE_SPEAKER_SHIFT);
    int32_t fromMode = -1;
    if (speaker < 0 && (kind < KIND_INPUT_GAIN || kind > KIND_INPUT_DELAY))
        fromMode = kindFromStripMode(true, false, inputMode);
    if (speaker >= 0 && kind != KIND_SPEAKER_GAIN && kind != KIND_SPEAKER_INFLUENCE)
        fromMode = kindFromStripMode(false, true, speakerMode);
    if (fromMode >= 0) kind = fromMode;

    ValueRowTexts row{};
    const bool isInput = validInput(p, input), isSpeaker = !isInput && validSpeaker(p, speaker);
    if (isInput) row.channel = buttonName(inputRecords(p)[input].name);
    if (isSpeaker) row.channel = buttonName(speakerRecords(p)[speaker].name);
    // The kind's label and value, when the kind belongs to the channel; the strips follow it.
    double value;
    bool belongs = (isInput && kind >= KIND_INPUT_GAIN && kind <= KIND_INPUT_DELAY) ||
                   (isSpeaker && (kind == KIND_SPEAKER_GAIN || kind == KIND_SPEAKER_INFLUENCE));
    if (belongs && valueRowValue(p, &value)) {
        row.label = localize(VALUE_KINDS[kind].label, SECTION, 0);
        uint32_t mask = isInput ? STRIP_MODE_INPUT_MASK : STRIP_MODE_SPEAKER_MASK;
        uint32_t mode = isInput ? uint32_t(kind) : uint32_t(kind - KIND_SPEAKER_GAIN) << STRIP_MODE_SPEAKER_SHIFT;
        p->uiFlags = (p->uiFlags & ~mask) | mode;
        row.value = kindText(kind, value);
        row.unit = VALUE_KINDS[kind].unit;
    }
    // The LFE input shows only its send, an LFE speaker only its gain.
    row.valueEnabled = true;
    if (input == 3 && lfeInputOption(p) && kind != KIND_INPUT_LFE) row.valueEnabled = false;
    if (validSpeaker(p, speaker) && speakerRecords(p)[speaker].lfe && kind != KIND_SPEAKER_GAIN)
        row.valueEnabled = false;
    return row;
}

// ---- popup menus ----

std::vector<PopupItem> focusMenu(const SurroundPanner* p) {
    std::vector<PopupItem> menu;
    int32_t focus = p->selectionState[SELECTION_FOCUS];
    addChannelItems(p, &menu, false, focus);
    if (p->layoutId == LAYOUT_CUSTOM) {
        menu.push_back({"", 0, false, true});
        addChannelItems(p, &menu, true, focus >= SELECT_SPEAKER ? focus - SELECT_SPEAKER : -1);
    }
    return menu;
}

void chooseFocus(SurroundPanner* p, int32_t command) {
    int32_t channel;
    bool isSpeaker;
    if (channelOfCommand(p, command, p->layoutId == LAYOUT_CUSTOM, &channel, &isSpeaker))
        p->selectionState[SELECTION_FOCUS] = isSpeaker ? (SELECT_SPEAKER | channel) : channel;
    // The view shows the focus: it draws again whatever was chosen.
    p->viewRedrawFlags = 3;
}

std::vector<PopupItem> valueChannelMenu(const SurroundPanner* p) {
    std::vector<PopupItem> menu;
    addChannelItems(p, &menu, false, p->selectionState[SELECTION_VALUE_INPUT]);
    menu.push_back({"", 0, false, true});
    addChannelItems(p, &menu, true, p->selectionState[SELECTION_VALUE_SPEAKER]);
    return menu;
}

std::vector<PopupItem> valueKindMenu(const SurroundPanner* p) {
    std::vector<PopupItem> menu;
    int32_t input = p->selectionState[SELECTION_VALUE_INPUT], speaker = p->selectionState[SELECTION_VALUE_SPEAKER];
    int32_t kind = p->selectionState[SELECTION_VALUE_KIND];
    const bool isInput = validInput(p, input);
    int first, last;
    if (isInput) first = KIND_INPUT_GAIN, last = KIND_INPUT_DELAY;
    else if (validSpeaker(p, speaker)) first = KIND_SPEAKER_GAIN, last = KIND_SPEAKER_INFLUENCE;
    else return menu;
    // The LFE input has no gain or divergence of its own; an LFE speaker no influence.
    const bool lfeInput = isInput && input == 3 && lfeInputOption(p);
    const bool lfeSpeaker = !isInput && speakerRecords(p)[speaker].lfe;
    for (int k = first; k <= last; k++) {
        if (lfeInput && (k == KIND_INPUT_GAIN || k == KIND_INPUT_DIVERGENCE)) continue;
        if (lfeSpeaker && k == KIND_SPEAKER_INFLUENCE) continue;
        menu.push_back({localize(VALUE_KINDS[k].label, SECTION, 0), MENU_KIND_BASE + k, k == kind, false});
    }
    return menu;
}

void chooseValueChannel(SurroundPanner* p, int32_t command) {
    int32_t channel;
    bool isSpeaker;
    if (!channelOfCommand(p, command, true, &channel, &isSpeaker)) return;
    p->selectionState[SELECTION_VALUE_INPUT] = isSpeaker ? -1 : channel;
    p->selectionState[SELECTION_VALUE_SPEAKER] = isSpeaker ? channel : -1;
}

void chooseValueKind(SurroundPanner* p, int32_t command) {
    int32_t kind = command - MENU_KIND_BASE;
    if (kind >= 0 && kind < KIND_COUNT) p->selectionState[SELECTION_VALUE_KIND] = kind;
}

// ---- what the controls do ----

void setInputsLocked(SurroundPanner* p, bool locked) {
    if (locked) p->uiFlags |= FLAG_LOCK_INPUTS;
    else p->uiFlags &= ~FLAG_LOCK_INPUTS;
    for (int i = 0; i < inputCount(p); i++) inputRecords(p)[i].selected = 0;
    recomputeScene(p);
}

bool clickSelectedControl(SurroundPanner* p, int32_t id) {
    if (id >= IDC_EDIT_ROW_RESET_1 && id < IDC_EDIT_ROW_RESET_1 + EDIT_ROWS) {
        centerGroup(p, p->editRowMode[id - IDC_EDIT_ROW_RESET_1]);
        return true;
    }
    if (id >= IDC_EDIT_ROW_REFLECT_1 && id < IDC_EDIT_ROW_REFLECT_1 + EDIT_ROWS) {
        flipGroup(p, p->editRowMode[id - IDC_EDIT_ROW_REFLECT_1]);
        return true;
    }
    switch (id) {
        case IDC_RESET_INPUTS:
            resetInputPositions(p, -1);
            finishEdit(p, true);
            return true;
        case IDC_LFE_INPUT: setLfeChannel(p, !lfeInputOption(p)); return true;
        case IDC_LFE_SPEAKER:
            if (controlsUpdating == 0) toggleLfeSpeaker(p);
            return true;
        case IDC_LOCK_SPEAKERS: p->uiFlags ^= FLAG_LOCK_SPEAKERS; return true;
        case IDC_EDIT_SELECTED:
            p->uiFlags &= ~FLAG_EDIT_ALL;
            recomputeScene(p);
            return true;
        case IDC_EDIT_ALL:
            p->uiFlags |= FLAG_EDIT_ALL;
            recomputeScene(p);
            return true;
        case IDC_EDIT_1D: p->uiFlags ^= FLAG_EDIT_1D; return true;
        case IDC_LOCK_INPUTS: setInputsLocked(p, !(p->uiFlags & FLAG_LOCK_INPUTS)); return true;
        case IDC_RESPECT_FLIP: p->uiFlags ^= FLAG_IGNORE_REVERSE; return true;
        default: return false;
    }
}

void chooseLayoutEntry(SurroundPanner* p, int entry) {
    if (entry < 0 || entry >= LAYOUT_ENTRIES) return;
    notePendingChange(p, true);
    // "Custom speakers" keeps the speakers as they stand, only hand-made from now on.
    if (LAYOUT_MENU_ORDER[entry] == LAYOUT_CUSTOM) setSpeakerCount(p, speakerCount(p));
    else applyLayout(p, LAYOUT_MENU_ORDER[entry]);
    analyzeSpeakers(p);
}

void chooseEditRowEntry(SurroundPanner* p, int row, int entry) {
    if (row < 0 || row >= EDIT_ROWS || entry < 0) return;
    p->editRowMode[row] = entry;
}

void turnEditRowKnob(SurroundPanner* p, int row, uint16_t value, bool ctrl, bool shift) {
    if (row < 0 || row >= EDIT_ROWS) return;
    double delta = (int(value) - 0x8000) * 0.25 / 32768.0;
    if (ctrl) delta *= 0.25;
    else if (shift) delta *= 4.0;
    moveGroup(p, p->editRowMode[row], delta);
    updateStamp(p, STAMP_VALUES);
}

std::string moveMixFader(SurroundPanner* p, bool side, int position, bool ended) {
    double value = std::clamp(position / 1000.0, 0.0, 1.0);
    sharedStore(side ? p->sidePercent : p->centerPercent, value);
    notifyParameter(p, -1, -1, side ? PG_SIDE : PG_CENTER);
    if (ended) endGestures(p);
    updateStamp(p, STAMP_VALUES);
    markAllInputsDirty(p);
    return format("%.0f", value * 100.0);
}

bool applyInputCountText(SurroundPanner* p, const char* text) {
    int n;
    if (!typedCount(text, &n) || n == inputCount(p)) return false;
    uint32_t before = p->pendingChannelChange;
    notePendingChange(p, true);
    if (!setInputCount(p, n)) {
        p->pendingChannelChange = before;
        return false;
    }
    finishEdit(p, true);
    return true;
}

bool applySpeakerCountText(SurroundPanner* p, const char* text) {
    int n;
    if (!typedCount(text, &n) || n == speakerCount(p)) return false;
    notePendingChange(p, true);
    setSpeakerCount(p, n);
    return true;
}

bool applyCenterSideTexts(SurroundPanner* p, const char* center, const char* side) {
    double c, s;
    if (!typedNumber(center, &c) || !typedNumber(side, &s)) return false;
    c = std::clamp(c * 0.01, 0.0, 1.0);
    s = std::clamp(s * 0.01, 0.0, 1.0);
    if (c == sharedLoad(p->centerPercent) && s == sharedLoad(p->sidePercent)) return false;
    // The mix changes at once; the host hears of it only through the faders.
    sharedStore(p->centerPercent, c);
    sharedStore(p->sidePercent, s);
    markAllInputsDirty(p);
    return true;
}

bool applyPositionTexts(SurroundPanner* p, const char* x, const char* y, const char* z) {
    const char* texts[3] = {x, y, z};
    double typed[3] = {0.0, 0.0, 0.0};
    bool given[3], any = false;
    for (int a = 0; a < 3; a++) {
        given[a] = typedNumber(texts[a], &typed[a]);
        typed[a] *= 0.01;
        any = any || given[a];
    }
    if (!any) return false;

    if (int32_t i = focusedInput(p); i >= 0) {
        beginEdit(p);
        PanInput* in = inputRecords(p);
        // Each typed axis moves the group by the focused input's step on that axis.
        for (int a = 0; a < 3; a++) {
            if (!given[a] || typed[a] == *workAxis(in[i], a)) continue;
            double step = typed[a] - *workAxis(in[i], a);
            for (int j = 0; j < inputCount(p); j++)
                if (inPositionGroup(p, i, j)) *workAxis(in[j], a) += step;
        }
        endTypedInputEdit(p);
        return true;
    }
    int32_t s = focusedSpeaker(p);
    if (s < 0) return false;
    PanSpeaker& sp = speakerRecords(p)[s];
    for (int a = 0; a < 3; a++)
        if (given[a]) sharedStore(*speakerAxis(sp, a), std::clamp(typed[a], a == 2 ? 0.0 : -1.0, 1.0));
    speakerMoved(p);
    return true;
}

bool applyAngleTexts(SurroundPanner* p, const char* azimuth, const char* elevation) {
    double a, e;
    if (!typedNumber(azimuth, &a) || !typedNumber(elevation, &e)) return false;
    a /= DEGREES;
    e /= DEGREES;

    if (int32_t i = focusedInput(p); i >= 0) {
        beginEdit(p);
        PanInput* in = inputRecords(p);
        Bearing now = bearingOf(in[i].workX, in[i].workY, in[i].workZ);
        if (a == now.azimuth && e == now.elevation) return false;
        // Every input of the group turns by the same angles around the room's vertical axis
        // and up or down, each keeping its floor distance.
        double turn = a - now.azimuth, tilt = e - now.elevation;
        for (int j = 0; j < inputCount(p); j++) {
            if (!inPositionGroup(p, i, j)) continue;
            Bearing b = bearingOf(in[j].workX, in[j].workY, in[j].workZ);
            in[j].workX = b.r * std::sin(b.azimuth + turn);
            in[j].workY = b.r * std::cos(b.azimuth + turn);
            in[j].workZ = heightAt(b.elevation + tilt, b.r);
        }
        endTypedInputEdit(p);
        return true;
    }
    int32_t s = focusedSpeaker(p);
    if (s < 0) return false;
    PanSpeaker& sp = speakerRecords(p)[s];
    Bearing now = bearingOf(sharedLoad(sp.posX), sharedLoad(sp.posY), sharedLoad(sp.posZ));
    if (a == now.azimuth && e == now.elevation) return false;
    sharedStore(sp.posX, std::clamp(now.r * std::sin(a), -1.0, 1.0));
    sharedStore(sp.posY, std::clamp(now.r * std::cos(a), -1.0, 1.0));
    sharedStore(sp.posZ, std::clamp(heightAt(e, now.r), 0.0, 1.0));
    speakerMoved(p);
    return true;
}

bool applyValueText(SurroundPanner* p, const char* text) {
    double v;
    if (!typedNumber(text, &v)) return false;
    int32_t input = p->selectionState[SELECTION_VALUE_INPUT], speaker = p->selectionState[SELECTION_VALUE_SPEAKER];
    int32_t kind = p->selectionState[SELECTION_VALUE_KIND];
    bool changed = false;
    if (validInput(p, input)) changed = applyInputValue(p, input, kind, v);
    else if (validSpeaker(p, speaker)) changed = applySpeakerValue(p, speaker, kind, v);
    endGestures(p);
    return changed;
}
