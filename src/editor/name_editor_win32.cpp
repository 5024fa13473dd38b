// The in-place name editor in Win32: the one edit field of the process over a name of the
// channel strips, its key hook through the host's accelerator registry, and its focus watch.
// The decisions are the portable unit's (name_editor.h); this file makes and ends the field.
#include <windows.h>

#include "editor/dialog_frame.h"
#include "editor/dialog_parts.h"
#include "editor/name_editor.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/host_api.h"
#include "platform/platform.h"
#include "platform/utf8_win32.h"

namespace {

// The mark by which the host knows a text field that keeps its keys.
constexpr LONG_PTR NAME_FIELD_MARK = LONG_PTR(0xDEADF00B);
constexpr UINT NAME_FOCUS_PERIOD_MS = 100;
constexpr int NAME_TEXT_SIZE = 512;

int translateKey(void* message, HostAccelerator* record);

// Process-wide: the one field of all instances, whose it is, what it edits, and the key hook
// registered with the host while it is open.
HWND nameEditWindow = nullptr;
SurroundPanner* nameEditOwner = nullptr;
int32_t nameEditItem = 0;
HostAccelerator nameEditAccel = {translateKey, 1, nullptr};

// Ends the field without looking at its text.
void closeNameEditor() {
    if (!nameEditWindow) return;
    if (hostApi.plugin_register) hostApi.plugin_register("-accelerator", &nameEditAccel);
    HWND field = nameEditWindow;
    nameEditWindow = nullptr;
    nameEditOwner = nullptr;
    DestroyWindow(field);
}

// The host's key hook: Tab, Return and Escape end the field through its dialog, Tab moving on.
int translateKey(void* message, HostAccelerator*) {
    const MSG* msg = static_cast<const MSG*>(message);
    HWND parent = nameEditWindow ? GetParent(nameEditWindow) : nullptr;
    if (!msg || !parent || (msg->hwnd != nameEditWindow && !IsChild(nameEditWindow, msg->hwnd))) return NAME_KEY_AS_USUAL;
    const bool key = msg->message == WM_KEYDOWN || msg->message == WM_CHAR;
    const NameKeyAnswer a =
        nameEditKey(key, uint32_t(msg->wParam), GetKeyState(VK_SHIFT) < 0, GetKeyState(VK_CONTROL) < 0, nameEditItem);
    if (a.end >= 0) SendMessageW(parent, MSG_NAME_EDIT_END, WPARAM(a.end), 0);
    if (a.nextItem >= 0) SendMessageW(parent, MSG_NAME_EDIT_BEGIN, WPARAM(a.nextItem), a.backward);
    return a.answer;
}

void beginNameEdit(SurroundPanner* p, HWND dialog, int item, bool backward) {
    // Whatever was open, here or in another instance, goes without its text.
    KillTimer(dialog, TIMER_NAME_FOCUS);
    closeNameEditor();
    const NameEditPlan plan = planNameEdit(p, item, backward);
    if (!plan.store) return;
    nameEditItem = plan.item;
    if (!plan.open || !p->editorWindow) return;

    if (hostApi.plugin_register) hostApi.plugin_register("<accelerator", &nameEditAccel);
    nameEditOwner = p;
    const PixelRect r = nameEditRect(p, plan.item);
    HINSTANCE module = static_cast<HINSTANCE>(moduleHandle());
    HWND field = CreateWindowExW(WS_EX_NOPARENTNOTIFY, L"Edit", L"", WS_CHILD | WS_TABSTOP | ES_AUTOHSCROLL | ES_WANTRETURN,
                                 r.x, r.y, r.w, r.h, dialog, nullptr, module ? module : GetModuleHandleW(nullptr), nullptr);
    if (!field) {
        if (hostApi.plugin_register) hostApi.plugin_register("-accelerator", &nameEditAccel);
        nameEditOwner = nullptr;
        return;
    }
    nameEditWindow = field;

    const int inputs = inputCount(p);
    const char* name = plan.item < inputs ? inputRecords(p)[plan.item].name : speakerRecords(p)[plan.item - inputs].name;
    SendMessageW(field, WM_SETFONT, WPARAM(SendMessageW(dialog, WM_GETFONT, 0, 0)), 0);
    SetWindowLongPtrW(field, GWLP_USERDATA, NAME_FIELD_MARK);
    SetWindowTextUtf8(field, name);
    SendMessageW(field, EM_SETSEL, 0, -1);
    // On top of the name column, which the dialog paints itself.
    SetWindowPos(field, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    ShowWindow(field, SW_SHOW);
    SetFocus(field);
    SetTimer(dialog, TIMER_NAME_FOCUS, NAME_FOCUS_PERIOD_MS, nullptr);
}

void endNameEdit(SurroundPanner* p, HWND dialog, bool keepText) {
    KillTimer(dialog, TIMER_NAME_FOCUS);
    if (!nameEditWindow || nameEditOwner != p) return;
    if (keepText) {
        char text[NAME_TEXT_SIZE];
        getWindowTextUtf8(nameEditWindow, text, sizeof text);
        applyEditedName(p, nameEditItem, text);
    }
    closeNameEditor();
}

// The field is given up, its text kept, when the focus left it or another window holds the mouse.
void watchFocus(SurroundPanner* p, HWND dialog) {
    if (!nameEditWindow || nameEditOwner != p) {
        KillTimer(dialog, TIMER_NAME_FOCUS);
        return;
    }
    HWND focus = GetFocus(), capture = GetCapture();
    const bool focusGone = !focus || (focus != nameEditWindow && !IsChild(nameEditWindow, focus));
    const bool captured = capture && capture != nameEditWindow && capture != GetParent(nameEditWindow);
    if (focusGone || captured) SendMessageW(dialog, MSG_NAME_EDIT_END, 1, 0);
}

}  // namespace

bool nameEditorMessage(SurroundPanner* p, const DialogMessage& m) {
    HWND dialog = static_cast<HWND>(m.dialog);
    switch (m.message) {
        case MSG_NAME_EDIT_BEGIN:
            beginNameEdit(p, dialog, int(m.wParam), m.lParam != 0);
            return true;
        case MSG_NAME_EDIT_END:
            endNameEdit(p, dialog, m.wParam == 1);
            return true;
        case WM_TIMER:
            if (m.wParam != TIMER_NAME_FOCUS) return false;
            watchFocus(p, dialog);
            return true;
        default:
            return false;
    }
}

void nameEditorDialogGone(SurroundPanner* p) {
    if (nameEditOwner == p) closeNameEditor();
}
