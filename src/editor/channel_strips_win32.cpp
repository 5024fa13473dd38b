// The channel strips in Win32: skins, fader positions, grey rows, meters and paging lists written
// from the records, and the strips' own messages. What a fader, a button, a list or a click does
// to the records is decided by the portable strip handlers (channel_strips.h); this file moves
// values between them and the controls.
#include <windows.h>

#include "editor/channel_strips.h"
#include "editor/dialog_controls.h"
#include "editor/dialog_frame.h"
#include "editor/dialog_parts.h"
#include "editor/dialog_stamps.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "roomview/pointer.h"

namespace {

// The button families of each list, in the order of a row view's skins.
const int INPUT_BUTTONS[] = {STRIP_INPUT_MUTE, STRIP_INPUT_SOLO, STRIP_INPUT_REVERSE_X, STRIP_INPUT_REVERSE_Y,
                             STRIP_INPUT_REVERSE_Z};
const int SPEAKER_BUTTONS[] = {STRIP_SPEAKER_MUTE, STRIP_SPEAKER_SOLO};

// Each list's controls.
struct StripListControls {
    int32_t list;
    const int* buttons;
    int buttonCount;
    int fader;
    int meter;
    int32_t modeList;
    int32_t pageList;
};
const StripListControls LISTS[] = {
    // list               buttons          count  fader                meter                mode list              page list
    {STRIP_LIST_INPUTS,   INPUT_BUTTONS,   5,     STRIP_INPUT_FADER,   STRIP_INPUT_METER,   IDC_INPUT_MODE_LIST,   IDC_INPUT_PAGE_LIST},
    {STRIP_LIST_SPEAKERS, SPEAKER_BUTTONS, 2,     STRIP_SPEAKER_FADER, STRIP_SPEAKER_METER, IDC_SPEAKER_MODE_LIST, IDC_SPEAKER_PAGE_LIST},
};

// The skin array of a button family.
ButtonSkin* skinsOf(StripControls& skins, int role) {
    switch (role) {
        case STRIP_INPUT_MUTE:
        case STRIP_SPEAKER_MUTE: return skins.mute;
        case STRIP_INPUT_SOLO:
        case STRIP_SPEAKER_SOLO: return skins.solo;
        case STRIP_INPUT_REVERSE_X: return skins.reverseX;
        case STRIP_INPUT_REVERSE_Y: return skins.reverseY;
        default: return skins.reverseZ;
    }
}

uint32_t keysHeld() {
    uint32_t keys = 0;
    if (GetKeyState(VK_SHIFT) < 0) keys |= POINTER_SHIFT;
    if (GetKeyState(VK_CONTROL) < 0) keys |= POINTER_CTRL;
    if (GetKeyState(VK_MENU) < 0) keys |= POINTER_ALT;
    return keys;
}

LRESULT sendItem(HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam) {
    return SendDlgItemMessageW(dialog, id, message, wParam, lParam);
}

void refreshList(SurroundPanner* p, HWND dialog, const StripListControls& c) {
    int32_t centre = faderCentre(c.list, stripMode(p, c.list));
    for (int r = 0; r < STRIP_ROWS; r++) sendItem(dialog, stripControlId(c.fader, r), CTL_FADER_SET_TIC, 0, centre);
    for (int r = 0; r < STRIP_ROWS; r++) {
        StripRowView view = stripRowView(p, c.list, r);
        if (!view.channel) continue;
        for (int b = 0; b < c.buttonCount; b++) {
            ButtonSkin* skin = &skinsOf(p->stripControls, c.buttons[b])[view.skins[b]];
            sendItem(dialog, stripControlId(c.buttons[b], r), BM_SETIMAGE, CTL_SKIN_IMAGE_TYPE, LPARAM(skin));
        }
        int fader = stripControlId(c.fader, r);
        sendItem(dialog, fader, CTL_FADER_SET_POS, 1, view.position);
        sendItem(dialog, fader, CTL_FADER_CAPTION, 0, view.greyed ? 1 : 0);
    }
}

// A fader of a row reported: the move goes to the records, the group's other faders follow, and
// the value row shows the channel; both stamps are taken again so that the tick does not write
// these controls a second time.
void faderMoved(SurroundPanner* p, HWND dialog, const StripListControls& c, int row, HWND fader, bool ending) {
    int32_t position = int32_t(SendMessageW(fader, CTL_FADER_GET_POS, 0, 0));
    StripFaderMove move = stripFaderMoved(p, c.list, row, position, ending);
    if (!move.acted) return;
    controlsUpdating++;
    for (int r = 0; r < STRIP_ROWS; r++)
        if (move.rowsToSet >> r & 1) sendItem(dialog, stripControlId(c.fader, r), CTL_FADER_SET_POS, 1, move.positions[r]);
    updateStamp(p, STAMP_VALUE_ROW);
    refreshValueRow(p, dialog);
    controlsUpdating--;
    updateStamp(p, STAMP_VALUES);
}

// WM_HSCROLL and WM_VSCROLL: the control in lParam is looked for as the frame orders the faders,
// Center and Side first (theirs are the selected-channel controls'), then row by row, the input
// before the speaker.
bool scrollMessage(SurroundPanner* p, HWND dialog, const DialogMessage& m) {
    HWND fader = reinterpret_cast<HWND>(m.lParam);
    if (!fader || fader == GetDlgItem(dialog, IDC_CENTER_FADER) || fader == GetDlgItem(dialog, IDC_SIDE_FADER)) return false;
    bool ending = LOWORD(m.wParam) == SB_ENDSCROLL;
    for (int r = 0; r < STRIP_ROWS; r++)
        for (const StripListControls& c : LISTS)
            if (fader == GetDlgItem(dialog, stripControlId(c.fader, r))) {
                faderMoved(p, dialog, c, r, fader, ending);
                return true;
            }
    return false;
}

// WM_COMMAND: the row buttons, the mode lists and the paging lists. A list's change that the
// dialog made itself is ignored.
bool commandMessage(SurroundPanner* p, HWND dialog, const DialogMessage& m) {
    int id = LOWORD(m.wParam), code = HIWORD(m.wParam);
    for (const StripListControls& c : LISTS)
        for (int b = 0; b < c.buttonCount; b++) {
            int row = id - stripControlId(c.buttons[b], 0);
            if (row < 0 || row >= STRIP_ROWS) continue;
            if (code == BN_CLICKED) stripButtonClicked(p, c.buttons[b], row, keysHeld());
            return true;
        }
    for (const StripListControls& c : LISTS) {
        if (id != c.modeList && id != c.pageList) continue;
        if (code != CBN_SELCHANGE || controlsUpdating > 0) return true;
        int32_t position = int32_t(sendItem(dialog, id, CB_GETCURSEL, 0, 0));
        if (id == c.modeList) stripModeChosen(p, c.list, position);
        else stripPageChosen(p, c.list, position);
        return true;
    }
    return false;
}

int pointerX(intptr_t lParam) { return int(short(LOWORD(lParam))); }
int pointerY(intptr_t lParam) { return int(short(HIWORD(lParam))); }

}  // namespace

void refreshStrips(SurroundPanner* p, void* window) {
    HWND dialog = static_cast<HWND>(window);
    controlsUpdating++;
    for (const StripListControls& c : LISTS) refreshList(p, dialog, c);
    controlsUpdating--;
}

void refreshMeters(SurroundPanner* p, void* window) {
    HWND dialog = static_cast<HWND>(window);
    for (int r = 0; r < STRIP_ROWS; r++)
        for (const StripListControls& c : LISTS) {
            double level = stripMeterLevel(p, c.list, r);
            double peaks[2] = {level, level};
            sendItem(dialog, stripControlId(c.meter, r), CTL_METER_PEAKS, 0, LPARAM(peaks));
        }
}

void rebuildPagingLists(SurroundPanner* p, void* window) {
    HWND dialog = static_cast<HWND>(window);
    controlsUpdating++;
    for (const StripListControls& c : LISTS) {
        bool inputs = c.list == STRIP_LIST_INPUTS;
        StripPages pages;
        if (!stripPages(inputs ? inputCount(p) : speakerCount(p), inputs ? p->firstInputStrip : p->firstSpeakerStrip, &pages))
            continue;
        SendDlgItemMessageA(dialog, c.pageList, CB_RESETCONTENT, 0, 0);
        for (int k = 0; k < pages.count; k++) SendDlgItemMessageA(dialog, c.pageList, CB_ADDSTRING, 0, LPARAM(pages.text[k]));
        SendDlgItemMessageA(dialog, c.pageList, CB_SETCURSEL, WPARAM(pages.selected), 0);
    }
    controlsUpdating--;
}

bool channelStripsMessage(SurroundPanner* p, const DialogMessage& m) {
    HWND dialog = static_cast<HWND>(m.dialog);
    switch (m.message) {
        case WM_HSCROLL:
        case WM_VSCROLL:
            return scrollMessage(p, dialog, m);
        case WM_COMMAND:
            return commandMessage(p, dialog, m);
        case WM_LBUTTONDOWN:
            return stripNameClick(p, pointerX(m.lParam), pointerY(m.lParam), keysHeld());
        case WM_LBUTTONDBLCLK: {
            int32_t item = stripNameEditItem(p, pointerX(m.lParam), pointerY(m.lParam));
            if (item < 0) return false;
            SendMessageW(dialog, MSG_NAME_EDIT_BEGIN, WPARAM(item), 0);
            return true;
        }
        default:
            return false;
    }
}
