#include "roomview/view_window.h"

#include <windows.h>

#include "foundation/host_api.h"
#include "foundation/theme_colours.h"
#include "roomview/paint.h"

namespace {

// The effect object hangs on the dialog that holds the view.
SurroundPanner* viewOwner(HWND view) {
    HWND dialog = GetParent(view);
    return dialog ? reinterpret_cast<SurroundPanner*>(GetWindowLongPtrA(dialog, GWLP_USERDATA)) : nullptr;
}

// Renders into roomBitmap, then one copy from its device context to the screen.
void paintWindow(HWND view, SurroundPanner* p) {
    RECT client;
    GetClientRect(view, &client);
    const int w = client.right - client.left, h = client.bottom - client.top;
    const int scale = hostApi.GetWindowDPIScalingForDialog ? hostApi.GetWindowDPIScalingForDialog(GetParent(view)) : 256;
    MIRQ_IBitmap* bitmap = paintWindowBitmap(p, w, h, scale, themeColours);
    PAINTSTRUCT ps;
    HDC screen = BeginPaint(view, &ps);
    HDC source = bitmap ? static_cast<HDC>(bitmap->deviceContext()) : nullptr;
    if (screen && source) BitBlt(screen, 0, 0, w, h, source, 0, 0, SRCCOPY);
    EndPaint(view, &ps);
}

LRESULT CALLBACK viewProcedure(HWND view, UINT message, WPARAM wParam, LPARAM lParam) {
    SurroundPanner* p = viewOwner(view);
    if (!p) return DefWindowProcA(view, message, wParam, lParam);
    switch (message) {
        case WM_PAINT: paintWindow(view, p); return 0;
        case WM_SETCURSOR: SetCursor(LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW))); return 1;
        default: return DefWindowProcA(view, message, wParam, lParam);
    }
}

}  // namespace

void* roomViewWindowProcedure() { return reinterpret_cast<void*>(&viewProcedure); }
