// The selected-channel controls in Win32: counts, layout list, edit rows, mode switches, the
// position row, Center and Side, the value row. What each control does to the records is decided
// by the portable handlers (selected_controls.h); this file moves values between them and the
// controls.
#include <windows.h>

#include <string>
#include <vector>

#include "editor/dialog_controls.h"
#include "editor/dialog_parts.h"
#include "editor/dialog_stamps.h"
#include "editor/selected_controls.h"
#include "engine/instance.h"
#include "platform/utf8_win32.h"

namespace {

// The families of the input rows that a lock of the inputs disables.
const int LOCKED_STRIP_FAMILIES[] = {STRIP_INPUT_MUTE,      STRIP_INPUT_SOLO,      STRIP_INPUT_REVERSE_X,
                                     STRIP_INPUT_REVERSE_Y, STRIP_INPUT_REVERSE_Z, STRIP_INPUT_FADER};

constexpr int TEXT_SIZE = 256;

HWND item(HWND dialog, int id) { return GetDlgItem(dialog, id); }

void setText(HWND dialog, int id, const std::string& text) { setDlgItemTextUtf8(dialog, id, text.c_str()); }

std::string textOf(HWND dialog, int id) {
    char text[TEXT_SIZE];
    getDlgItemTextUtf8(dialog, id, text, TEXT_SIZE);
    return text;
}

void check(HWND dialog, int id, bool on) { CheckDlgButton(dialog, id, on ? BST_CHECKED : BST_UNCHECKED); }

void enable(HWND dialog, int id, bool on) { EnableWindow(item(dialog, id), on ? TRUE : FALSE); }

void select(HWND dialog, int id, int entry) { SendDlgItemMessageW(dialog, id, CB_SETCURSEL, WPARAM(entry), 0); }

// The host's fader and knob draw greyed out and take no input, or come back.
void grey(HWND dialog, int id, bool greyed) { SendDlgItemMessageW(dialog, id, CTL_FADER_CAPTION, 0, greyed ? 1 : 0); }

// Enables or disables what a lock of the inputs takes away: the edit rows and the input strips.
void enableInputEditing(HWND dialog, bool on) {
    for (int k = 0; k < LOCKED_CONTROL_COUNT; k++) enable(dialog, LOCKED_CONTROLS[k], on);
    for (int r = 0; r < EDIT_ROWS; r++) grey(dialog, IDC_EDIT_ROW_KNOB_1 + r, !on);
    for (int row = 0; row < STRIP_ROWS; row++)
        for (int family : LOCKED_STRIP_FAMILIES) enable(dialog, stripControlId(family, row), on);
}

// A popup menu at the lower left corner of a button; the command chosen, 0 for none.
int32_t popupAtButton(HWND dialog, int buttonId, const std::vector<PopupItem>& items) {
    HMENU menu = items.empty() ? nullptr : CreatePopupMenu();
    if (!menu) return 0;
    UINT position = 0;
    for (const PopupItem& it : items) {
        UINT flags = MF_BYPOSITION | (it.separator ? MF_SEPARATOR : MF_STRING | (it.checked ? MF_CHECKED : 0));
        InsertMenuUtf8(menu, position++, flags, it.separator ? 0 : UINT_PTR(it.command), it.text.c_str());
    }
    return trackPopupAtButton(dialog, buttonId, menu);
}

void rebuildEditRowLists(SurroundPanner* p, HWND dialog) {
    std::vector<std::string> entries = editRowEntries(p);
    for (int r = 0; r < EDIT_ROWS; r++) {
        int id = IDC_EDIT_ROW_LIST_1 + r;
        SendDlgItemMessageW(dialog, id, CB_RESETCONTENT, 0, 0);
        for (const std::string& e : entries) SendDlgItemMessageA(dialog, id, CB_ADDSTRING, 0, LPARAM(e.c_str()));
    }
}

// Center and Side from a fader, the fader's edit written here so that the next tick leaves it.
bool mixFaderMessage(SurroundPanner* p, HWND dialog, const DialogMessage& m) {
    HWND fader = reinterpret_cast<HWND>(m.lParam);
    bool side = fader == item(dialog, IDC_SIDE_FADER);
    if (!fader || (!side && fader != item(dialog, IDC_CENTER_FADER))) return false;
    if (controlsUpdating > 0) return true;
    int position = int(SendMessageW(fader, CTL_FADER_GET_POS, 0, 0));
    std::string text = moveMixFader(p, side, position, LOWORD(m.wParam) == SB_ENDSCROLL);
    controlsUpdating++;
    setText(dialog, side ? IDC_SIDE_EDIT : IDC_CENTER_EDIT, text);
    controlsUpdating--;
    return true;
}

// The value row's two buttons: a menu, then the row again, shown at once.
void valueMenu(SurroundPanner* p, HWND dialog, int buttonId) {
    bool channels = buttonId == IDC_VALUE_CHANNEL;
    std::vector<PopupItem> items = channels ? valueChannelMenu(p) : valueKindMenu(p);
    if (items.empty()) return;
    int32_t command = popupAtButton(dialog, buttonId, items);
    if (channels) chooseValueChannel(p, command);
    else chooseValueKind(p, command);
    updateStamp(p, STAMP_VALUE_ROW);
    controlsUpdating++;
    refreshValueRow(p, dialog);
    controlsUpdating--;
}

}  // namespace

void refreshSelectedControls(SurroundPanner* p, void* window, bool rebuildRowLists) {
    HWND dialog = static_cast<HWND>(window);
    SwitchStates st = switchStates(p);
    // Lists and counts
    select(dialog, IDC_LAYOUT_LIST, st.layoutEntry);
    select(dialog, IDC_INPUT_MODE_LIST, st.inputModeEntry);
    select(dialog, IDC_SPEAKER_MODE_LIST, st.speakerModeEntry);
    setText(dialog, IDC_INPUT_COUNT, st.inputCount);
    setText(dialog, IDC_SPEAKER_COUNT, st.speakerCount);
    // Check marks and enable states
    check(dialog, IDC_LFE_INPUT, st.lfeInput);
    enable(dialog, IDC_LFE_INPUT, st.lfeInputEnabled);
    check(dialog, IDC_LFE_SPEAKER, st.lfeSpeaker);
    check(dialog, IDC_LOCK_SPEAKERS, st.lockSpeakers);
    for (int id : {int(IDC_SPEAKER_COUNT), int(IDC_LFE_SPEAKER), int(IDC_LOCK_SPEAKERS)})
        enable(dialog, id, st.customLayout);
    check(dialog, IDC_EDIT_SELECTED, st.editSelected);
    check(dialog, IDC_EDIT_ALL, st.editAll);
    check(dialog, IDC_EDIT_1D, st.edit1D);
    check(dialog, IDC_LOCK_INPUTS, st.lockInputs);
    check(dialog, IDC_RESPECT_FLIP, st.respectFlip);
    // A lock lifted elsewhere (a new input count clears it) gives the controls back; a dialog that
    // opens locked keeps them enabled, so the lock alone never disables here.
    if (!st.lockInputs && !IsWindowEnabled(item(dialog, IDC_EDIT_ROW_LIST_1))) enableInputEditing(dialog, true);
    // The edit rows
    if (rebuildRowLists) rebuildEditRowLists(p, dialog);
    correctEditRowModes(p, int(SendDlgItemMessageW(dialog, IDC_EDIT_ROW_LIST_1, CB_GETCOUNT, 0, 0)));
    for (int r = 0; r < EDIT_ROWS; r++) select(dialog, IDC_EDIT_ROW_LIST_1 + r, p->editRowMode[r]);
    // Center and Side
    CenterSideView mix = centerSideView(p);
    SendDlgItemMessageW(dialog, IDC_CENTER_FADER, CTL_FADER_SET_POS, 1, mix.centerPosition);
    SendDlgItemMessageW(dialog, IDC_SIDE_FADER, CTL_FADER_SET_POS, 1, mix.sidePosition);
    setText(dialog, IDC_CENTER_EDIT, mix.centerText);
    setText(dialog, IDC_SIDE_EDIT, mix.sideText);
    refreshCenterSide(p, dialog);
}

void refreshPositionRow(SurroundPanner* p, void* window) {
    HWND dialog = static_cast<HWND>(window);
    PositionRowTexts row = positionRowTexts(p);
    controlsUpdating++;
    setText(dialog, IDC_FOCUS_CHANNEL, row.name);
    const int fields[POS_FIELD_COUNT] = {IDC_POS_X, IDC_POS_Y, IDC_POS_Z, IDC_ANGLE_XY, IDC_ANGLE_Z};
    for (int k = 0; k < POS_FIELD_COUNT; k++) setText(dialog, fields[k], row.field[k]);
    enable(dialog, IDC_POS_Z, row.zEnabled);
    controlsUpdating--;
}

void refreshValueRow(SurroundPanner* p, void* window) {
    HWND dialog = static_cast<HWND>(window);
    ValueRowTexts row = refreshValueRowState(p);
    controlsUpdating++;
    setText(dialog, IDC_VALUE_CHANNEL, row.channel);
    setText(dialog, IDC_VALUE_KIND, row.label);
    setText(dialog, IDC_VALUE_EDIT, row.value);
    setText(dialog, IDC_VALUE_UNIT, row.unit);
    enable(dialog, IDC_VALUE_EDIT, row.valueEnabled);
    enable(dialog, IDC_VALUE_UNIT, row.valueEnabled);
    controlsUpdating--;
}

void refreshCenterSide(SurroundPanner* p, void* window) {
    HWND dialog = static_cast<HWND>(window);
    CenterSideView mix = centerSideView(p);
    for (int id : {int(IDC_CENTER_LABEL), int(IDC_CENTER_EDIT), int(IDC_CENTER_PERCENT_SIGN)})
        enable(dialog, id, mix.centerInForce);
    for (int id : {int(IDC_SIDE_LABEL), int(IDC_SIDE_EDIT), int(IDC_SIDE_PERCENT_SIGN)})
        enable(dialog, id, mix.sideInForce);
    grey(dialog, IDC_CENTER_FADER, !mix.centerInForce);
    grey(dialog, IDC_SIDE_FADER, !mix.sideInForce);
}

void applyDebouncedFields(SurroundPanner* p, void* window, int timer) {
    HWND dialog = static_cast<HWND>(window);
    switch (timer) {
        case TIMER_VALUE_ROW: applyValueText(p, textOf(dialog, IDC_VALUE_EDIT).c_str()); break;
        case TIMER_INPUT_COUNT: applyInputCountText(p, textOf(dialog, IDC_INPUT_COUNT).c_str()); break;
        case TIMER_SPEAKER_COUNT: applySpeakerCountText(p, textOf(dialog, IDC_SPEAKER_COUNT).c_str()); break;
        case TIMER_CENTER_SIDE:
            applyCenterSideTexts(p, textOf(dialog, IDC_CENTER_EDIT).c_str(), textOf(dialog, IDC_SIDE_EDIT).c_str());
            break;
        case TIMER_POSITION:
            applyPositionTexts(p, textOf(dialog, IDC_POS_X).c_str(), textOf(dialog, IDC_POS_Y).c_str(),
                               textOf(dialog, IDC_POS_Z).c_str());
            break;
        case TIMER_ANGLES:
            applyAngleTexts(p, textOf(dialog, IDC_ANGLE_XY).c_str(), textOf(dialog, IDC_ANGLE_Z).c_str());
            break;
        default: break;
    }
}

bool selectedControlsMessage(SurroundPanner* p, const DialogMessage& m) {
    HWND dialog = static_cast<HWND>(m.dialog);
    if (m.message == WM_HSCROLL || m.message == WM_VSCROLL) return mixFaderMessage(p, dialog, m);
    if (m.message != WM_COMMAND) return false;
    int id = LOWORD(m.wParam), code = HIWORD(m.wParam);
    // The knobs report with the code of a click and their value in lParam.
    if (id >= IDC_EDIT_ROW_KNOB_1 && id < IDC_EDIT_ROW_KNOB_1 + EDIT_ROWS) {
        bool ctrl = GetKeyState(VK_CONTROL) < 0, shift = GetKeyState(VK_SHIFT) < 0;
        turnEditRowKnob(p, id - IDC_EDIT_ROW_KNOB_1, LOWORD(m.lParam), ctrl, shift);
        return true;
    }
    bool layoutList = id == IDC_LAYOUT_LIST;
    bool rowList = id >= IDC_EDIT_ROW_LIST_1 && id < IDC_EDIT_ROW_LIST_1 + EDIT_ROWS;
    if (layoutList || rowList) {
        if (code != CBN_SELCHANGE || controlsUpdating > 0) return true;
        int entry = int(SendDlgItemMessageW(dialog, id, CB_GETCURSEL, 0, 0));
        if (layoutList) chooseLayoutEntry(p, entry);
        else chooseEditRowEntry(p, id - IDC_EDIT_ROW_LIST_1, entry);
        return true;
    }
    if (code != BN_CLICKED) return false;
    switch (id) {
        case IDC_FOCUS_CHANNEL:
            chooseFocus(p, popupAtButton(dialog, id, focusMenu(p)));
            InvalidateRect(item(dialog, IDC_ROOM_VIEW), nullptr, FALSE);
            return true;
        case IDC_VALUE_CHANNEL:
        case IDC_VALUE_KIND: valueMenu(p, dialog, id); return true;
        default:
            if (!clickSelectedControl(p, id)) return false;
            if (id == IDC_LOCK_INPUTS) enableInputEditing(dialog, !(p->uiFlags & FLAG_LOCK_INPUTS));
            return true;
    }
}
