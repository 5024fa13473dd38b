// The popup menus of the dialog's "Pan law" and "Speaker presets" buttons in Win32: built from
// the portable menu tables when the button is clicked, shown, destroyed, their command applied.
// Also what the room view's options menu leaves to the dialog: the names and colours of the
// sending tracks, at once on the view's request and each second while the option is on.
#include <windows.h>

#include "editor/dialog_controls.h"
#include "editor/dialog_frame.h"
#include "editor/dialog_menus.h"
#include "editor/dialog_parts.h"
#include "editor/sending_tracks.h"
#include "engine/instance.h"
#include "platform/utf8_win32.h"
#include "roomview/view_window.h"

namespace {

// A popup of a table's items; submenu items take the popups made of `submenus`. Null when the
// system makes no menu.
HMENU buildPopup(const MenuTable& table, const MenuTable* submenus, int submenuCount) {
    HMENU menu = CreatePopupMenu();
    if (!menu) return nullptr;
    for (int i = 0; i < table.count; i++) {
        const MenuItem& item = table.items[i];
        UINT flags = MF_BYPOSITION | (item.checked ? MF_CHECKED : 0) | (item.greyed ? MF_GRAYED : 0);
        if (item.separator) {
            InsertMenuUtf8(menu, UINT(i), MF_BYPOSITION | MF_SEPARATOR, 0, nullptr);
        } else if (item.submenu >= 0 && item.submenu < submenuCount) {
            HMENU sub = buildPopup(submenus[item.submenu], nullptr, 0);
            // Attached, the submenu goes with the main menu; left alone, it goes here.
            if (sub && !InsertMenuUtf8(menu, UINT(i), flags | MF_POPUP, UINT_PTR(sub), item.text)) DestroyMenu(sub);
        } else {
            InsertMenuUtf8(menu, UINT(i), flags | MF_STRING, UINT_PTR(item.command), item.text);
        }
    }
    return menu;
}

void showPanLawMenu(SurroundPanner* p, HWND dialog) {
    PanLawMenu menu;
    buildPanLawMenu(p, &menu);
    int command = trackPopupAtButton(dialog, IDC_PAN_LAW, buildPopup(menu.table, nullptr, 0));
    if (command) panLawMenuCommand(p, command);
}

void showPresetMenu(SurroundPanner* p, HWND dialog) {
    PresetMenu menu;
    presetMenuOpen(&menu);
    HMENU popup = buildPopup(menu.main, menu.submenus, PRESET_SUBMENU_COUNT);
    int command = trackPopupAtButton(dialog, IDC_SPEAKER_PRESETS, popup);
    if (command) presetMenuCommand(p, &menu, command, dialog);
    presetMenuClose(&menu);
}

}  // namespace

int32_t trackPopupAtButton(void* dialog, int buttonId, void* menu) {
    if (!menu) return 0;
    RECT button{};
    GetWindowRect(GetDlgItem(static_cast<HWND>(dialog), buttonId), &button);
    int32_t command = int32_t(TrackPopupMenu(static_cast<HMENU>(menu), TPM_RETURNCMD | TPM_NONOTIFY, button.left,
                                             button.bottom, 0, static_cast<HWND>(dialog), nullptr));
    DestroyMenu(static_cast<HMENU>(menu));
    return command;
}

bool dialogMenusMessage(SurroundPanner* p, const DialogMessage& m) {
    HWND dialog = static_cast<HWND>(m.dialog);
    switch (m.message) {
        case WM_COMMAND:
            if (HIWORD(m.wParam) != BN_CLICKED) return false;
            if (LOWORD(m.wParam) == IDC_PAN_LAW) {
                showPanLawMenu(p, dialog);
                return true;
            }
            if (LOWORD(m.wParam) == IDC_SPEAKER_PRESETS) {
                showPresetMenu(p, dialog);
                return true;
            }
            return false;
        case WM_TIMER:
            if (m.wParam != TIMER_SENDING_TRACKS) return false;
            if (p->uiFlags & FLAG_AUTO_SEND_NAMES) importSendingTracks(p);
            return true;
        case MSG_IMPORT_SENDING_TRACKS:
            importSendingTracks(p);
            return true;
        default:
            return false;
    }
}
