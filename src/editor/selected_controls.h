// The selected-channel controls of the editor dialog as plain functions: what each count field,
// list, button, knob, number field and the Center and Side faders do to the records, and what the
// controls show, as texts, flags and menu items. Called by selected_controls_win32.cpp and tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct SurroundPanner;

// Control ids of the upper right of the dialog and the value row.
enum : int32_t {
    IDC_RESET_INPUTS = 1024,
    IDC_VALUE_CHANNEL = 1025,
    IDC_VALUE_KIND = 1026,
    IDC_CENTER_PERCENT_SIGN = 1220,
    IDC_CENTER_LABEL = 1229,
    IDC_SIDE_PERCENT_SIGN = 1030,
    IDC_SIDE_LABEL = 1258,
    IDC_FOCUS_CHANNEL = 1040,
    IDC_EDIT_ROW_LIST_1 = 1128,
    IDC_LFE_INPUT = 1199,
    IDC_LOCK_SPEAKERS = 1218,
    IDC_VALUE_UNIT = 1223,
    IDC_LFE_SPEAKER = 1230,
    IDC_EDIT_ROW_REFLECT_1 = 1233,
    IDC_EDIT_ROW_RESET_1 = 1236,
    IDC_RESPECT_FLIP = 1232,
    IDC_EDIT_1D = 1288,
    IDC_LOCK_INPUTS = 1286,
    IDC_EDIT_SELECTED = 1290,
    IDC_EDIT_ALL = 1291,
};
constexpr int EDIT_ROWS = 3;
constexpr int LAYOUT_ENTRIES = 20;

// The debounce timers of the number fields.
enum { TIMER_VALUE_ROW = 2, TIMER_INPUT_COUNT = 3, TIMER_SPEAKER_COUNT = 4, TIMER_CENTER_SIDE = 5,
       TIMER_POSITION = 6, TIMER_ANGLES = 7 };

// Commands of the popup menus. Inputs count from MENU_INPUT_BASE; speakers from MENU_SPEAKER_BASE,
// or right after the inputs when there are more than a hundred of them.
enum : int32_t {
    MENU_INPUT_BASE = 100,
    MENU_SPEAKER_BASE = 200,
    MENU_KIND_BASE = 300,
};

// One entry of a popup menu: a separator, or a text with its command and check mark.
struct PopupItem {
    std::string text;
    int32_t command;
    bool checked;
    bool separator;
};

// ---- what the controls show ----

// Check marks, enable states and selections of the upper controls, from the records.
struct SwitchStates {
    int32_t layoutEntry;  // entry of the layout list, -1 for none
    int32_t inputModeEntry, speakerModeEntry;  // the strips' mode lists
    std::string inputCount, speakerCount;
    bool lfeInput, lfeInputEnabled;
    bool lfeSpeaker;
    bool lockSpeakers;
    bool customLayout;  // enables the speaker count, the speakers' "4=LFE" and "Lock"
    bool editSelected, editAll, edit1D, lockInputs, respectFlip;
};
// [window thread] The states as the records hold them now.
SwitchStates switchStates(const SurroundPanner* p);

// Center and Side: fader positions 0..1000, the edits' texts, and whether each is in force.
struct CenterSideView {
    int32_t centerPosition, sidePosition;
    std::string centerText, sideText;
    bool centerInForce, sideInForce;
};
// [window thread] Center and Side as the records hold them.
CenterSideView centerSideView(const SurroundPanner* p);

// [window thread] The entries of each edit row's list: the seven edit modes, localised, then
// "To " and the name of each panning speaker in index order.
std::vector<std::string> editRowEntries(const SurroundPanner* p);
// [window thread] Each row's mode that lies outside a list of listCount entries becomes the row's
// own number again.
void correctEditRowModes(SurroundPanner* p, int listCount);

// The position row: the focused channel's name and five numbers, and whether Z may be typed.
enum { POS_FIELD_X, POS_FIELD_Y, POS_FIELD_Z, POS_FIELD_AZIMUTH, POS_FIELD_ELEVATION, POS_FIELD_COUNT };
struct PositionRowTexts {
    std::string name;
    std::string field[POS_FIELD_COUNT];
    bool zEnabled;
};
// [window thread] The row for the present focusChannel; all texts empty when it names no input,
// nor a speaker of a hand-made arrangement.
PositionRowTexts positionRowTexts(const SurroundPanner* p);

// The value row: the channel button, the kind button, the value and its unit.
struct ValueRowTexts {
    std::string channel, label, value, unit;
    bool valueEnabled;
};
// [window thread] Corrects the value row's channel and kind (a channel past its list goes, no
// channel at all means input 0, a kind of the other side comes from that side's strip mode), makes
// the strip mode of the shown side follow the kind, and returns what the row shows.
ValueRowTexts refreshValueRowState(SurroundPanner* p);

// [any thread] A name as the buttons show it: a first letter a to z in capital.
std::string buttonName(const char* name);

// ---- popup menus ----

// [window thread] The focus button's menu: every input, then, for a hand-made arrangement, every
// speaker; the focused channel checked.
std::vector<PopupItem> focusMenu(const SurroundPanner* p);
// [window thread] A choice from it; 0 (no choice) or an unknown command changes nothing.
void chooseFocus(SurroundPanner* p, int32_t command);
// [window thread] The value row's channel menu: every input, a separator, every speaker.
std::vector<PopupItem> valueChannelMenu(const SurroundPanner* p);
// [window thread] The kinds of the value row's channel; empty when there is no valid channel.
std::vector<PopupItem> valueKindMenu(const SurroundPanner* p);
// [window thread] A choice from the channel menu, or from the kind menu; 0 or an unknown command
// changes nothing.
void chooseValueChannel(SurroundPanner* p, int32_t command);
void chooseValueKind(SurroundPanner* p, int32_t command);

// ---- what the controls do ----

// [window thread] A click on one of the upper buttons, check boxes or radio buttons (count row,
// edit rows' "Reset" and "Reflect", mode switches); false for any other id. The "Lock" of the
// inputs changes the records only: the dialog then enables or disables LOCKED_CONTROLS itself.
bool clickSelectedControl(SurroundPanner* p, int32_t id);
// [window thread] Locks or unlocks the inputs: the flag, an empty selection, the scene values.
void setInputsLocked(SurroundPanner* p, bool locked);
// The controls that a lock of the inputs disables, besides the input rows of the strips.
extern const int32_t LOCKED_CONTROLS[];
extern const int LOCKED_CONTROL_COUNT;

// [window thread] The layout list's entry chosen; an entry outside 0..19 changes nothing.
void chooseLayoutEntry(SurroundPanner* p, int entry);
// [window thread] An edit row's list entry chosen; a row outside 0..2 changes nothing.
void chooseEditRowEntry(SurroundPanner* p, int row, int entry);
// [window thread] An edit row's knob turned: value is the knob's 16-bit report, 0x8000 for rest.
void turnEditRowKnob(SurroundPanner* p, int row, uint16_t value, bool ctrl, bool shift);

// [window thread] The Center (side false) or Side fader at position 0..1000; ended at the end of
// the drag. Returns the text the fader's edit is to show.
std::string moveMixFader(SurroundPanner* p, bool side, int position, bool ended);

// [window thread] The debounced number fields, a second after the last key. A text without a digit
// is no input; a null text counts as empty. Each returns true when the records changed.
bool applyInputCountText(SurroundPanner* p, const char* text);                  // timer 3
bool applySpeakerCountText(SurroundPanner* p, const char* text);                // timer 4
bool applyCenterSideTexts(SurroundPanner* p, const char* center, const char* side);  // timer 5
bool applyPositionTexts(SurroundPanner* p, const char* x, const char* y, const char* z);  // timer 6
bool applyAngleTexts(SurroundPanner* p, const char* azimuth, const char* elevation);  // timer 7
bool applyValueText(SurroundPanner* p, const char* text);                       // timer 2
