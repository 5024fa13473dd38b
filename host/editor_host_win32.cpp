// The host's editor window.
#include "host/editor_host.h"

#include <windows.h>

#include "host/png.h"
#include "hostservices/controls.h"
#include "platform/dib_win32.h"

namespace {

const wchar_t* const HOST_WINDOW_CLASS = L"KelvaneHostEditor";
constexpr UINT_PTR IDLE_TIMER = 1;
constexpr int IDLE_PERIOD_MS = 20;

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
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
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
    int w = client.right, ht = client.bottom;
    if (w < 1 || ht < 1) return {};

    BITMAPINFO info = dibInfo32(w, ht);
    void* bits = nullptr;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP dib = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    std::vector<unsigned char> png;
    if (dib && bits) {
        HGDIOBJ old = SelectObject(memory, dib);
        BitBlt(memory, 0, 0, w, ht, screen, origin.x, origin.y, SRCCOPY);
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
