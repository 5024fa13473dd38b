// The selected-channel controls in Win32: counts, layout list, edit rows, mode switches, the
// position row, Center and Side, the value row. What each control does to the records is decided
// by the portable handlers; this file moves values between them and the controls.
#include <windows.h>

#include "editor/dialog_controls.h"
#include "editor/dialog_parts.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "layouts/layouts.h"

void refreshSelectedControls(SurroundPanner* p, void* window, bool) {
    HWND dialog = static_cast<HWND>(window);
    int layoutPos = -1;
    for (int k = 0; k < 20; k++)
        if (LAYOUT_MENU_ORDER[k] == p->layoutId) layoutPos = k;
    SendDlgItemMessageW(dialog, IDC_LAYOUT_LIST, CB_SETCURSEL, WPARAM(layoutPos), 0);
    SendDlgItemMessageW(dialog, IDC_INPUT_MODE_LIST, CB_SETCURSEL, WPARAM(p->uiFlags & 0xF), 0);
    SendDlgItemMessageW(dialog, IDC_SPEAKER_MODE_LIST, CB_SETCURSEL, WPARAM(p->uiFlags >> 4 & 0xF), 0);
    SetDlgItemInt(dialog, IDC_INPUT_COUNT, UINT(inputCount(p)), FALSE);
    SetDlgItemInt(dialog, IDC_SPEAKER_COUNT, UINT(speakerCount(p)), FALSE);
}

void refreshPositionRow(SurroundPanner*, void*) {}

void refreshValueRow(SurroundPanner*, void*) {}

void refreshCenterSide(SurroundPanner*, void*) {}

void applyDebouncedFields(SurroundPanner*, void*, int) {}

bool selectedControlsMessage(SurroundPanner*, const DialogMessage&) { return false; }
