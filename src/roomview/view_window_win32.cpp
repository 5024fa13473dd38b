#include "roomview/view_window.h"

#include <windows.h>

#include "engine/parameter_text.h"
#include "foundation/host_api.h"
#include "foundation/localize.h"
#include "foundation/theme_colours.h"
#include "platform/dib_win32.h"
#include "platform/utf8_win32.h"
#include "roomview/overlays.h"
#include "roomview/paint.h"
#include "roomview/pointer.h"

namespace {

constexpr int MENU_PICTURE_SIDE = 24;

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

void requestRepaint(HWND view, SurroundPanner* p, uint32_t bits) {
    p->viewRedrawFlags |= bits;
    InvalidateRect(view, nullptr, FALSE);
}

// ---- the buttons' menus ----

// A menu entry at the end, with its text localized.
void appendText(HMENU menu, UINT id, bool checked, const char* text) {
    InsertMenuUtf8(menu, UINT(-1), MF_BYPOSITION | MF_STRING | (checked ? MF_CHECKED : MF_UNCHECKED), id,
                   localize(text, "kelvanepan", 0));
}

// A shape's picture as the button draws it, on the dialog's face, as a 32-bit top-down DIB with
// opaque alpha; null when it can't be made.
HBITMAP shapePicture(int shape) {
    if (!hostApi.MIRQ_CreateBitmap || !hostApi.MIRQ_Clear) return nullptr;
    MIRQ_IBitmap* b = hostApi.MIRQ_CreateBitmap(0, MENU_PICTURE_SIDE, MENU_PICTURE_SIDE);
    if (!b || !b->pixels()) {
        mirqDestroy(b);
        return nullptr;
    }
    const uint32_t face = dialogFaceColour();
    hostApi.MIRQ_Clear(b, int(face | 0xFF000000u));
    drawShapePicture(b, 0, 0, shape, contrastColour(face));
    BITMAPINFO info = dibInfo32(MENU_PICTURE_SIDE, MENU_PICTURE_SIDE);
    void* bits = nullptr;
    HBITMAP dib = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (dib && bits) {
        uint32_t* out = static_cast<uint32_t*>(bits);
        const uint32_t* in = b->pixels();
        const int span = b->rowSpan();
        for (int y = 0; y < MENU_PICTURE_SIDE; y++) {
            const uint32_t* row = in + (b->flipped() ? -y : y) * span;
            for (int x = 0; x < MENU_PICTURE_SIDE; x++) out[y * MENU_PICTURE_SIDE + x] = row[x] | 0xFF000000u;
        }
    }
    mirqDestroy(b);
    return dib;
}

// The "Z shape" menu: "none", then a picture of each shape with its name for screen readers (its
// name as text when the picture can't be made). Pictures go to *pictures, for the caller to free.
HMENU shapeMenu(SurroundPanner* p, HBITMAP pictures[ZSHAPE_MENU_COUNT]) {
    HMENU menu = CreatePopupMenu();
    if (!menu) return nullptr;
    MENUINFO style = {};
    style.cbSize = sizeof style;
    style.fMask = MIM_STYLE;
    style.dwStyle = MNS_CHECKORBMP;
    SetMenuInfo(menu, &style);
    for (int shape = 0; shape < ZSHAPE_MENU_COUNT; shape++) {
        const UINT id = UINT(ZSHAPE_MENU_FIRST + shape);
        const bool checked = viewMenuChecked(p, VIEW_MENU_ZSHAPE, int(id));
        pictures[shape] = shape ? shapePicture(shape) : nullptr;
        if (!pictures[shape]) {
            appendText(menu, id, checked, Z_SHAPE_NAMES[shape]);
            continue;
        }
        MENUITEMINFOW item = {};
        item.cbSize = sizeof item;
        item.fMask = MIIM_ID | MIIM_BITMAP | MIIM_STATE;
        item.wID = id;
        item.hbmpItem = pictures[shape];
        item.fState = checked ? MFS_CHECKED : MFS_UNCHECKED;
        InsertMenuItemW(menu, UINT(shape), TRUE, &item);
        if (hostApi.SetMenuItemAccessibilityString)
            hostApi.SetMenuItemAccessibilityString(menu, shape, localize(Z_SHAPE_NAMES[shape], "kelvanepan", 0), 0);
    }
    return menu;
}

// Shows a button's menu at its lower left corner and carries out the command chosen.
void runMenu(HWND view, SurroundPanner* p, const ViewMenuRequest& request) {
    HBITMAP pictures[ZSHAPE_MENU_COUNT] = {};
    HMENU menu = nullptr;
    if (request.menu == VIEW_MENU_OPTIONS) {
        menu = CreatePopupMenu();
        if (menu) {
            appendText(menu, OPTIONS_IMPORT_NAMES, false, "Set input names/colors from sending tracks");
            appendText(menu, OPTIONS_AUTO_SEND_NAMES, viewMenuChecked(p, VIEW_MENU_OPTIONS, OPTIONS_AUTO_SEND_NAMES),
                       "Automatically update inputs when sending track names/colors change");
        }
    } else {
        menu = shapeMenu(p, pictures);
    }
    if (menu) {
        POINT at = {request.x, request.y};
        ClientToScreen(view, &at);
        const int command = int(TrackPopupMenu(menu, TPM_RETURNCMD | TPM_NONOTIFY | TPM_LEFTALIGN | TPM_TOPALIGN, at.x,
                                               at.y, 0, view, nullptr));
        DestroyMenu(menu);
        // The import from the sending tracks is the dialog's, asked of the view's parent; the
        // view carries out the rest.
        if (request.menu == VIEW_MENU_OPTIONS && command == OPTIONS_IMPORT_NAMES)
            SendMessageA(GetParent(view), MSG_IMPORT_SENDING_TRACKS, 0, 0);
        else if (command && viewMenuCommand(p, request.menu, command))
            requestRepaint(view, p, VIEW_REDRAW_PAINT | VIEW_REDRAW_WORLD);
    }
    for (HBITMAP b : pictures)
        if (b) DeleteObject(b);
}

// ---- the mouse ----

ViewPointer pointerAt(HWND view, int x, int y) {
    RECT client;
    GetClientRect(view, &client);
    return {x, y, int(client.right - client.left), int(client.bottom - client.top), false, viewKeyState()};
}

void mouseMessage(HWND view, SurroundPanner* p, int message, int x, int y) {
    const ViewMouseAnswer a = windowMouseMessage(p, message, pointerAt(view, x, y), GetCapture() == view);
    if (a.capture) SetCapture(view);
    if (a.release) ReleaseCapture();
    if (a.redraw) requestRepaint(view, p, a.redraw);
    if (a.menu.menu != VIEW_MENU_NONE) runMenu(view, p, a.menu);
}

// A capture taken away in the middle of a gesture ends it as a release would.
void captureLost(HWND view, SurroundPanner* p) {
    const int32_t* drag = p->dragState;
    if (drag[DRAG_MARQUEE]) {
        resetDrag(p);
        requestRepaint(view, p, VIEW_REDRAW_PAINT);
    } else if (drag[DRAG_ORBIT] || drag[DRAG_INPUT] >= 0 || drag[DRAG_SPEAKER] >= 0) {
        pointerUp(p);
    }
}

LRESULT CALLBACK viewProcedure(HWND view, UINT message, WPARAM wParam, LPARAM lParam) {
    SurroundPanner* p = viewOwner(view);
    if (!p) return DefWindowProcA(view, message, wParam, lParam);
    const int x = short(LOWORD(lParam)), y = short(HIWORD(lParam));
    switch (message) {
        case WM_PAINT: paintWindow(view, p); return 0;
        case WM_SETCURSOR: SetCursor(LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW))); return 1;
        case WM_LBUTTONDOWN: mouseMessage(view, p, VIEW_MOUSE_LEFT_DOWN, x, y); return 0;
        case WM_LBUTTONDBLCLK: {
            // The place of the click itself, where the pointer is now.
            POINT at = {};
            GetCursorPos(&at);
            ScreenToClient(view, &at);
            mouseMessage(view, p, VIEW_MOUSE_DOUBLE, at.x, at.y);
            return 0;
        }
        case WM_RBUTTONDOWN: mouseMessage(view, p, VIEW_MOUSE_RIGHT_DOWN, x, y); return 0;
        case WM_MOUSEMOVE: mouseMessage(view, p, VIEW_MOUSE_MOVE, x, y); return 0;
        case WM_LBUTTONUP: mouseMessage(view, p, VIEW_MOUSE_LEFT_UP, x, y); return 0;
        case WM_RBUTTONUP: mouseMessage(view, p, VIEW_MOUSE_RIGHT_UP, x, y); return 0;
        case WM_CAPTURECHANGED:
            if (reinterpret_cast<HWND>(lParam) != view) captureLost(view, p);
            return 0;
        default: return DefWindowProcA(view, message, wParam, lParam);
    }
}

}  // namespace

void* roomViewWindowProcedure() { return reinterpret_cast<void*>(&viewProcedure); }

uint32_t viewKeyState() {
    uint32_t keys = 0;
    if (GetAsyncKeyState(VK_SHIFT) & 0x8000) keys |= POINTER_SHIFT;
    if (GetAsyncKeyState(VK_CONTROL) & 0x8000) keys |= POINTER_CTRL;
    if (GetAsyncKeyState(VK_MENU) & 0x8000) keys |= POINTER_ALT;
    return keys;
}

void tellDialogSpeakersMoved(SurroundPanner* p) {
    if (p && p->editorWindow) SendMessageA(static_cast<HWND>(p->editorWindow), MSG_REFRESH_CENTER_SIDE, 0, 0);
}
