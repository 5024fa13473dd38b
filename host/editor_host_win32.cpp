// The host's editor window.
#include "host/editor_host.h"

#include <windows.h>

#include <cwchar>

#include "host/key_hooks.h"
#include "host/png.h"
#include "hostservices/controls.h"
#include "platform/dib_win32.h"

namespace {

const wchar_t* const HOST_WINDOW_CLASS = L"KelvaneHostEditor";
constexpr UINT_PTR IDLE_TIMER = 1;
constexpr int IDLE_PERIOD_MS = 20;
constexpr LONG_PTR KEY_FIELD_MARK = LONG_PTR(0xDEADF00B);

// A pick of a menu item in progress: the path, the level reached and the menu shown there, the
// keys sent so far. Once Return went in, the menu has a second to close.
struct MenuPick {
    std::vector<int> path;
    size_t level;
    HMENU menu;
    int state;
    int presses;
    bool returned;
    DWORD returnedAt;
    UINT_PTR timer;
};
MenuPick pick{};
constexpr UINT PICK_PERIOD_MS = 30;
constexpr int PICK_PRESSES_MAX = 300;
constexpr DWORD PICK_CLOSE_MS = 1000;

// The popup menus open on this thread, with the menu each shows.
struct OpenPopup {
    HWND window;
    HMENU menu;
};
BOOL CALLBACK addPopup(HWND window, LPARAM list) {
    wchar_t cls[16] = {0};
    GetClassNameW(window, cls, 16);
    if (IsWindowVisible(window) && !wcscmp(cls, L"#32768"))
        reinterpret_cast<std::vector<OpenPopup>*>(list)->push_back(
            {window, reinterpret_cast<HMENU>(SendMessageW(window, MN_GETHMENU, 0, 0))});
    return TRUE;
}
std::vector<OpenPopup> openPopups() {
    std::vector<OpenPopup> list;
    EnumThreadWindows(GetCurrentThreadId(), addPopup, LPARAM(&list));
    return list;
}

void endPick(int state) {
    if (pick.timer) KillTimer(nullptr, pick.timer);
    pick.timer = 0;
    pick.state = state;
}

// Gives up: every level of the menu closes.
void failPick(HWND window) {
    for (size_t k = 0; k <= pick.level; k++) PostMessageW(window, WM_KEYDOWN, VK_ESCAPE, 1);
    endPick(EDITOR_PICK_FAILED);
}

// One key a tick: down to the item of this level, into its submenu, or Return on the last.
void CALLBACK pickTick(HWND, UINT, UINT_PTR, DWORD) {
    std::vector<OpenPopup> open = openPopups();
    if (pick.returned) {
        if (open.empty()) endPick(EDITOR_PICK_CHOSEN);
        else if (GetTickCount() - pick.returnedAt > PICK_CLOSE_MS) failPick(open.back().window);
        return;
    }
    if (!pick.menu && !open.empty()) pick.menu = open.front().menu;
    HWND shown = nullptr;
    for (const OpenPopup& o : open)
        if (o.menu == pick.menu) shown = o.window;
    if (!shown) return;  // no menu yet, or its submenu is still opening
    const int position = pick.path[pick.level];
    const UINT itemState = GetMenuState(pick.menu, UINT(position), MF_BYPOSITION);
    if (position < 0 || position >= GetMenuItemCount(pick.menu) || itemState == UINT(-1) ||
        (itemState & MF_SEPARATOR) || ++pick.presses > PICK_PRESSES_MAX) {
        failPick(shown);
        return;
    }
    if (!(itemState & MF_HILITE)) {
        PostMessageW(shown, WM_KEYDOWN, VK_DOWN, 1);
    } else if (itemState & (MF_GRAYED | MF_DISABLED)) {
        failPick(shown);
    } else if (pick.level + 1 < pick.path.size()) {
        HMENU sub = GetSubMenu(pick.menu, position);
        if (!sub) {
            failPick(shown);
            return;
        }
        PostMessageW(shown, WM_KEYDOWN, VK_RIGHT, 1);
        pick.menu = sub;
        pick.level++;
    } else {
        PostMessageW(shown, WM_KEYDOWN, VK_RETURN, 1);
        pick.returned = true;
        pick.returnedAt = GetTickCount();
    }
}

LRESULT CALLBACK hostWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_TIMER && wParam == IDLE_TIMER) {
        AEffect* effect = reinterpret_cast<AEffect*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (effect) {
            effect->dispatcher(effect, effIdle, 0, 0, nullptr, 0.0f);
            effect->dispatcher(effect, effEditIdle, 0, 0, nullptr, 0.0f);
        }
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

bool registerHostWindow() {
    WNDCLASSW wc{};
    if (GetClassInfoW(GetModuleHandleW(nullptr), HOST_WINDOW_CLASS, &wc)) return true;
    wc.lpfnWndProc = hostWindowProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_3DFACE + 1);
    wc.lpszClassName = HOST_WINDOW_CLASS;
    return RegisterClassW(&wc) != 0;
}

// Sizes the host window so that its client area is the editor's rectangle.
void fitToEditor(HWND window, AEffect* effect) {
    ERect* rect = nullptr;
    if (!effect->dispatcher(effect, effEditGetRect, 0, 0, &rect, 0.0f) || !rect) return;
    RECT r{0, 0, rect->right - rect->left, rect->bottom - rect->top};
    AdjustWindowRectEx(&r, DWORD(GetWindowLongW(window, GWL_STYLE)), FALSE, DWORD(GetWindowLongW(window, GWL_EXSTYLE)));
    SetWindowPos(window, nullptr, 0, 0, r.right - r.left, r.bottom - r.top, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace

bool editorHostOpen(EditorHost* h, AEffect* effect, bool framed, std::string* error) {
    h->window = nullptr;
    h->effect = effect;
    if (!hostControlsRegister() || !registerHostWindow()) {
        *error = "the host's window classes cannot be registered";
        return false;
    }
    DWORD style = (framed ? WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU : WS_POPUP) | WS_CLIPCHILDREN;
    HWND window = CreateWindowExW(framed ? 0 : WS_EX_NOACTIVATE, HOST_WINDOW_CLASS, L"KelvanePan", style, 0, 0, 640, 480, nullptr, nullptr,
                                  GetModuleHandleW(nullptr), nullptr);
    if (!window) {
        *error = "no window can be made (is there a display?)";
        return false;
    }
    h->window = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, LONG_PTR(effect));
    fitToEditor(window, effect);
    if (!effect->dispatcher(effect, effEditOpen, 0, 0, window, 0.0f)) {
        *error = "the plugin opened no editor";
        editorHostClose(h);
        return false;
    }
    fitToEditor(window, effect);
    ShowWindow(window, framed ? SW_SHOWNORMAL : SW_SHOWNOACTIVATE);
    UpdateWindow(window);
    SetTimer(window, IDLE_TIMER, IDLE_PERIOD_MS, nullptr);
    return true;
}

void editorHostRun(EditorHost* h, int ms) {
    DWORD end = GetTickCount() + DWORD(ms);
    while (int32_t(end - GetTickCount()) > 0) {
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) editorHostDispatch(&msg);
        if (h->window) fitToEditor(static_cast<HWND>(h->window), h->effect);
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
    }
}

std::vector<unsigned char> editorHostCapture(EditorHost* h) {
    HWND window = static_cast<HWND>(h->window);
    if (!window) return {};
    SetWindowPos(window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    editorHostRun(h, 50);
    RECT client;
    GetClientRect(window, &client);
    POINT origin{0, 0};
    ClientToScreen(window, &origin);
    return editorHostCaptureScreen(origin.x, origin.y, client.right, client.bottom);
}

std::vector<unsigned char> editorHostCaptureScreen(int x, int y, int w, int ht) {
    if (w < 1 || ht < 1) return {};
    BITMAPINFO info = dibInfo32(w, ht);
    void* bits = nullptr;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP dib = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    std::vector<unsigned char> png;
    if (dib && bits) {
        HGDIOBJ old = SelectObject(memory, dib);
        BitBlt(memory, 0, 0, w, ht, screen, x, y, SRCCOPY);
        GdiFlush();
        png = pngEncode(static_cast<const uint32_t*>(bits), w, ht, w, false);
        SelectObject(memory, old);
    }
    if (dib) DeleteObject(dib);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    return png;
}

void* editorHostDialog(EditorHost* h) { return h->window ? GetWindow(static_cast<HWND>(h->window), GW_CHILD) : nullptr; }

void editorHostClose(EditorHost* h) {
    if (!h->window) return;
    KillTimer(static_cast<HWND>(h->window), IDLE_TIMER);
    if (h->effect) h->effect->dispatcher(h->effect, effEditClose, 0, 0, nullptr, 0.0f);
    DestroyWindow(static_cast<HWND>(h->window));
    h->window = nullptr;
}

void editorHostDispatch(void* message) {
    MSG* msg = static_cast<MSG*>(message);
    if (hostTranslateMessage(msg) == 1) return;
    TranslateMessage(msg);
    DispatchMessageW(msg);
}

void editorHostPostText(void* window, const std::string& utf8) {
    int n = MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, nullptr, 0);
    std::wstring text(size_t(n > 0 ? n : 1), L'\0');
    if (n > 0) MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, &text[0], n);
    for (wchar_t c : text)
        if (c) PostMessageW(static_cast<HWND>(window), WM_CHAR, WPARAM(c), 1);
}

void editorHostPostKey(void* window, unsigned virtualKey) {
    PostMessageW(static_cast<HWND>(window), WM_KEYDOWN, WPARAM(virtualKey), 1);
}

namespace {
BOOL CALLBACK findKeyField(HWND window, LPARAM found) {
    wchar_t cls[8] = {0};
    GetClassNameW(window, cls, 8);
    if (IsWindowVisible(window) && !_wcsicmp(cls, L"Edit") && GetWindowLongPtrW(window, GWLP_USERDATA) == KEY_FIELD_MARK) {
        *reinterpret_cast<HWND*>(found) = window;
        return FALSE;
    }
    return TRUE;
}
}  // namespace

void* editorHostKeyField(void* window) {
    HWND found = nullptr;
    if (window) EnumChildWindows(static_cast<HWND>(window), findKeyField, LPARAM(&found));
    return found;
}

void editorHostPickMenu(const std::vector<int>& path) {
    endPick(EDITOR_PICK_NONE);
    pick = MenuPick{};
    pick.path = path;
    if (path.empty()) {
        pick.state = EDITOR_PICK_FAILED;
        return;
    }
    pick.state = EDITOR_PICK_WAITING;
    pick.timer = SetTimer(nullptr, 0, PICK_PERIOD_MS, pickTick);
}

int editorHostPickState() { return pick.state; }

void editorHostPickCancel() {
    if (pick.state == EDITOR_PICK_WAITING) endPick(EDITOR_PICK_FAILED);
}

std::vector<void*> editorHostPopupMenus() {
    std::vector<void*> windows;
    for (const OpenPopup& o : openPopups()) windows.push_back(o.window);
    return windows;
}
