// The host's control classes, drawn with GDI. Every control keeps a HostControlState in its
// window's user data and tells its parent what the user did: faders with WM_HSCROLL and a final
// SB_ENDSCROLL, knobs with their grab message and WM_COMMAND, buttons with BN_CLICKED.
#include "hostservices/controls.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <new>

#include "foundation/bitmap.h"
#include "foundation/button_skin.h"
#include "platform/dib_win32.h"

namespace {

const wchar_t* const KNOB_CLASS = L"BRASSELknob";
const wchar_t* const FADER_CLASS = L"BRASSELhfader";
const wchar_t* const METER_CLASS = L"BRASSELhorzvu";
const wchar_t* const BUTTON_CLASS = L"HotTrackButton";

constexpr double METER_FLOOR_DB = -60.0;
constexpr int FADER_THUMB = 8;

struct Control {
    HostControlState state;
    int dragX, dragY;
    bool dragging, hot, pressed, tracking;
};

Control* controlOf(HWND window) { return reinterpret_cast<Control*>(GetWindowLongPtrW(window, GWLP_USERDATA)); }

LRESULT notifyParent(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    HWND parent = GetParent(window);
    return parent ? SendMessageW(parent, message, wParam, lParam) : 0;
}

int xOf(LPARAM l) { return short(LOWORD(l)); }
int yOf(LPARAM l) { return short(HIWORD(l)); }

COLORREF faceColour() { return GetSysColor(COLOR_3DFACE); }

void fillRect(HDC dc, RECT r, COLORREF colour) {
    HBRUSH brush = CreateSolidBrush(colour);
    FillRect(dc, &r, brush);
    DeleteObject(brush);
}

// Creation and teardown of the record every class keeps.
bool attachRecord(HWND window, UINT message) {
    if (message == WM_NCCREATE) {
        Control* c = new (std::nothrow) Control{};
        if (!c) return false;
        c->state.rangeMax = 1000;
        c->state.meterConfig = 0;
        c->state.peakLeft = c->state.peakRight = METER_FLOOR_DB;
        SetWindowLongPtrW(window, GWLP_USERDATA, LONG_PTR(c));
    } else if (message == WM_NCDESTROY) {
        delete controlOf(window);
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    }
    return true;
}

// A drag of a fader or knob ends with the button's release or the loss of the capture; true when
// one was running.
bool endDrag(HWND window, Control* c, UINT message) {
    if (!c->dragging) return false;
    c->dragging = false;
    if (message == WM_LBUTTONUP) ReleaseCapture();
    InvalidateRect(window, nullptr, FALSE);
    return true;
}

// ---- fader ----

int faderPositionAt(HWND window, const Control* c, int x) {
    RECT r;
    GetClientRect(window, &r);
    int span = std::max(1, int(r.right) - FADER_THUMB);
    int range = c->state.rangeMax - c->state.rangeMin;
    int pos = c->state.rangeMin + int(std::lround(double(x - FADER_THUMB / 2) * range / span));
    return std::clamp(pos, c->state.rangeMin, c->state.rangeMax);
}

int faderXOf(HWND window, const Control* c, int pos) {
    RECT r;
    GetClientRect(window, &r);
    int span = std::max(1, int(r.right) - FADER_THUMB);
    int range = std::max(1, c->state.rangeMax - c->state.rangeMin);
    return FADER_THUMB / 2 + (pos - c->state.rangeMin) * span / range;
}

void paintFader(HWND window, HDC dc, const Control* c) {
    RECT r;
    GetClientRect(window, &r);
    fillRect(dc, r, faceColour());
    int mid = r.bottom / 2;
    COLORREF line = c->state.greyed ? GetSysColor(COLOR_GRAYTEXT) : RGB(40, 40, 40);
    fillRect(dc, RECT{FADER_THUMB / 2, mid - 1, r.right - FADER_THUMB / 2, mid + 1}, line);
    int tic = faderXOf(window, c, c->state.tic);
    fillRect(dc, RECT{tic, 1, tic + 1, r.bottom - 1}, line);
    if (c->dragging && c->state.caption[0]) {
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, line);
        DrawTextA(dc, c->state.caption, -1, &r, DT_SINGLELINE | DT_VCENTER | DT_RIGHT | DT_NOPREFIX);
    }
    int x = faderXOf(window, c, c->state.position);
    RECT thumb{x - FADER_THUMB / 2, 1, x + FADER_THUMB / 2, r.bottom - 1};
    fillRect(dc, thumb, c->state.greyed ? GetSysColor(COLOR_BTNSHADOW) : RGB(70, 110, 170));
    FrameRect(dc, &thumb, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
}

void faderReport(HWND window, Control* c, WORD code) {
    notifyParent(window, WM_HSCROLL, MAKEWPARAM(code, code == SB_THUMBTRACK ? c->state.position : 0), LPARAM(window));
}

LRESULT faderMessage(HWND window, Control* c, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case HOSTCTL_FADER_GET_POS:
            return c->state.position;
        case HOSTCTL_FADER_SET_TIC:
            c->state.tic = int32_t(lParam);
            InvalidateRect(window, nullptr, FALSE);
            return 0;
        case HOSTCTL_FADER_SET_POS:
            c->state.position = std::clamp(int32_t(lParam), c->state.rangeMin, c->state.rangeMax);
            if (wParam) InvalidateRect(window, nullptr, FALSE);
            return 0;
        case HOSTCTL_FADER_SET_RANGE:
            c->state.rangeMin = int16_t(LOWORD(lParam));
            c->state.rangeMax = std::max<int32_t>(c->state.rangeMin, int16_t(HIWORD(lParam)));
            c->state.position = std::clamp(c->state.position, c->state.rangeMin, c->state.rangeMax);
            InvalidateRect(window, nullptr, FALSE);
            return 0;
        case HOSTCTL_FADER_CAPTION:
            if (wParam == 1) {
                const char* text = reinterpret_cast<const char*>(lParam);
                std::snprintf(c->state.caption, sizeof c->state.caption, "%s", text ? text : "");
            } else {
                c->state.greyed = lParam ? 1 : 0;
                InvalidateRect(window, nullptr, FALSE);
            }
            return 0;
        case WM_LBUTTONDOWN:
            if (c->state.greyed) return 0;
            SetCapture(window);
            c->dragging = true;
            c->state.position = faderPositionAt(window, c, xOf(lParam));
            InvalidateRect(window, nullptr, FALSE);
            faderReport(window, c, SB_THUMBTRACK);
            return 0;
        case WM_MOUSEMOVE:
            if (!c->dragging) return 0;
            c->state.position = faderPositionAt(window, c, xOf(lParam));
            InvalidateRect(window, nullptr, FALSE);
            faderReport(window, c, SB_THUMBTRACK);
            return 0;
        case WM_LBUTTONUP:
        case WM_CAPTURECHANGED:
            if (endDrag(window, c, message)) faderReport(window, c, SB_ENDSCROLL);
            return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

// ---- knob: a relative control; a drag reports its vertical movement ----

void paintKnob(HWND window, HDC dc, const Control* c) {
    RECT r;
    GetClientRect(window, &r);
    fillRect(dc, r, faceColour());
    int size = std::min(r.right, r.bottom) - 1;
    HGDIOBJ oldBrush = SelectObject(dc, GetStockObject(c->dragging ? GRAY_BRUSH : LTGRAY_BRUSH));
    Ellipse(dc, 0, 0, size, size);
    SelectObject(dc, oldBrush);
    // The mark turns with the movement of the present drag.
    double angle = -2.4 + c->state.position * 0.02;
    double half = size / 2.0;
    MoveToEx(dc, int(half), int(half), nullptr);
    LineTo(dc, int(half + std::sin(angle) * half * 0.8), int(half - std::cos(angle) * half * 0.8));
}

LRESULT knobMessage(HWND window, Control* c, UINT message, WPARAM wParam, LPARAM lParam) {
    WORD id = WORD(GetDlgCtrlID(window));
    switch (message) {
        case HOSTCTL_KNOB_MODE:
            c->state.knobMode = int32_t(wParam);
            return 0;
        case HOSTCTL_KNOB_GRAB_MESSAGE:
            c->state.grabMessage = uint32_t(wParam);
            return 0;
        case WM_LBUTTONDOWN:
            SetCapture(window);
            c->dragging = true;
            c->dragY = yOf(lParam);
            c->state.position = 0;
            if (c->state.grabMessage) notifyParent(window, c->state.grabMessage, id, LPARAM(window));
            InvalidateRect(window, nullptr, FALSE);
            return 0;
        case WM_MOUSEMOVE: {
            if (!c->dragging) return 0;
            int move = std::clamp(c->dragY - yOf(lParam), -0x7FFF, 0x7FFF);
            c->dragY = yOf(lParam);
            if (!move) return 0;
            c->state.position += move;
            InvalidateRect(window, nullptr, FALSE);
            notifyParent(window, WM_COMMAND, MAKEWPARAM(id, 0), LPARAM((HOSTCTL_KNOB_NO_MOVE + move) & 0xFFFF));
            return 0;
        }
        case WM_LBUTTONUP:
        case WM_CAPTURECHANGED:
            if (endDrag(window, c, message))
                notifyParent(window, WM_COMMAND, MAKEWPARAM(id, 0), LPARAM(HOSTCTL_KNOB_NO_MOVE));
            return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

// ---- meter: -60 dB .. 0 dB, green, then yellow from -12 dB, red from -3 dB ----

void paintMeter(HWND window, HDC dc, const Control* c) {
    RECT r;
    GetClientRect(window, &r);
    fillRect(dc, r, RGB(24, 24, 24));
    double peak = std::max(c->state.peakLeft, c->state.peakRight);
    if (!(peak > METER_FLOOR_DB)) return;
    auto xAt = [&](double dB) { return int(std::clamp((dB - METER_FLOOR_DB) / -METER_FLOOR_DB, 0.0, 1.0) * r.right); };
    int end = xAt(peak);
    struct Band { double from, to; COLORREF colour; } bands[] = {
        {METER_FLOOR_DB, -12.0, RGB(40, 200, 60)}, {-12.0, -3.0, RGB(230, 210, 40)}, {-3.0, 0.0, RGB(230, 50, 40)}};
    for (const Band& b : bands) {
        int from = xAt(b.from), to = std::min(end, xAt(b.to));
        if (to > from) fillRect(dc, RECT{from, 0, to, r.bottom}, b.colour);
    }
}

LRESULT meterMessage(HWND window, Control* c, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case HOSTCTL_METER_CONFIG:
            c->state.meterConfig = int32_t(lParam);
            return 0;
        case HOSTCTL_METER_PEAKS: {
            const double* peaks = reinterpret_cast<const double*>(lParam);
            if (!peaks) return 0;
            if (peaks[0] != c->state.peakLeft || peaks[1] != c->state.peakRight) {
                c->state.peakLeft = peaks[0];
                c->state.peakRight = peaks[1];
                InvalidateRect(window, nullptr, FALSE);
            }
            return 0;
        }
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

// ---- button: frame 0 normal, 1 under the pointer, 2 pressed, of a skin three frames wide ----

// The frame follows the pointer: pressed inside, under it, or neither.
void buttonChanged(HWND window, Control* c) {
    c->state.frame = c->pressed && c->hot ? 2 : c->hot ? 1 : 0;
    InvalidateRect(window, nullptr, FALSE);
}

void paintButton(HWND window, HDC dc, Control* c) {
    RECT r;
    GetClientRect(window, &r);
    const ButtonSkin* skin = static_cast<const ButtonSkin*>(c->state.skin);
    MIRQ_IBitmap* bitmap = skin ? skin->bitmap : nullptr;
    uint32_t* pixels = bitmap ? bitmap->pixels() : nullptr;
    if (!pixels) {
        fillRect(dc, r, faceColour());
        DrawEdge(dc, &r, c->state.frame == 2 ? EDGE_SUNKEN : EDGE_RAISED, BF_RECT);
        return;
    }
    // Stored pixels: the frame is a third of the stored width.
    int storedW = bitmap->rowSpan(), storedH = 0;
    int logicalW = std::max(1, bitmap->width());
    storedH = bitmap->height() * storedW / logicalW;
    int frameW = storedW / 3;
    BITMAPINFO info = dibInfo32(storedW, storedH, !bitmap->flipped());
    SetStretchBltMode(dc, HALFTONE);
    StretchDIBits(dc, 0, 0, r.right, r.bottom, c->state.frame * frameW, 0, frameW, storedH, pixels, &info,
                  DIB_RGB_COLORS, SRCCOPY);
    if (!IsWindowEnabled(window)) {
        HBRUSH hatch = CreateHatchBrush(HS_BDIAGONAL, GetSysColor(COLOR_BTNSHADOW));
        FrameRect(dc, &r, hatch);
        DeleteObject(hatch);
    }
}

LRESULT buttonMessage(HWND window, Control* c, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case HOSTCTL_BUTTON_SKIN:
            if (wParam != HOSTCTL_SKIN_IMAGE_TYPE) return 0;
            c->state.skin = reinterpret_cast<const void*>(lParam);
            InvalidateRect(window, nullptr, FALSE);
            return 0;
        case WM_MOUSEMOVE:
            if (!c->tracking) {
                TRACKMOUSEEVENT track{sizeof track, TME_LEAVE, window, 0};
                c->tracking = TrackMouseEvent(&track);
            }
            if (!c->hot) {
                c->hot = true;
                buttonChanged(window, c);
            }
            return 0;
        case WM_MOUSELEAVE:
            c->tracking = false;
            c->hot = false;
            buttonChanged(window, c);
            return 0;
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
            SetCapture(window);
            c->pressed = c->hot = true;
            buttonChanged(window, c);
            return 0;
        case WM_LBUTTONUP: {
            if (!c->pressed) return 0;
            c->pressed = false;
            ReleaseCapture();
            RECT r;
            GetClientRect(window, &r);
            POINT at{xOf(lParam), yOf(lParam)};
            buttonChanged(window, c);
            if (PtInRect(&r, at))
                notifyParent(window, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(window), BN_CLICKED), LPARAM(window));
            return 0;
        }
        case BM_CLICK:
            // A click without the pointer, as accessibility tools and scripts make it.
            if (IsWindowEnabled(window))
                notifyParent(window, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(window), BN_CLICKED), LPARAM(window));
            return 0;
        case WM_ENABLE:
            InvalidateRect(window, nullptr, FALSE);
            return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

// ---- one procedure for all four; the class decides ----

enum Kind { KIND_KNOB, KIND_FADER, KIND_METER, KIND_BUTTON };

template <Kind kind>
LRESULT CALLBACK controlProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (!attachRecord(window, message)) return FALSE;
    Control* c = controlOf(window);
    if (!c) return DefWindowProcW(window, message, wParam, lParam);
    if (message == WM_ERASEBKGND) return 1;
    if (message == WM_PAINT) {
        PAINTSTRUCT ps;
        HDC dc = BeginPaint(window, &ps);
        if (kind == KIND_KNOB) paintKnob(window, dc, c);
        if (kind == KIND_FADER) paintFader(window, dc, c);
        if (kind == KIND_METER) paintMeter(window, dc, c);
        if (kind == KIND_BUTTON) paintButton(window, dc, c);
        EndPaint(window, &ps);
        return 0;
    }
    if (kind == KIND_KNOB) return knobMessage(window, c, message, wParam, lParam);
    if (kind == KIND_FADER) return faderMessage(window, c, message, wParam, lParam);
    if (kind == KIND_METER) return meterMessage(window, c, message, wParam, lParam);
    return buttonMessage(window, c, message, wParam, lParam);
}

struct ClassRow {
    const wchar_t* name;
    WNDPROC proc;
    UINT style;
};
const ClassRow CLASSES[] = {
    {KNOB_CLASS, controlProc<KIND_KNOB>, 0},
    {FADER_CLASS, controlProc<KIND_FADER>, 0},
    {METER_CLASS, controlProc<KIND_METER>, 0},
    {BUTTON_CLASS, controlProc<KIND_BUTTON>, CS_DBLCLKS},
};

}  // namespace

bool hostControlsRegister() {
    bool all = true;
    for (const ClassRow& row : CLASSES) {
        WNDCLASSW wc{};
        if (GetClassInfoW(GetModuleHandleW(nullptr), row.name, &wc)) continue;
        wc.style = row.style | CS_HREDRAW | CS_VREDRAW | CS_GLOBALCLASS;  // plugins create them with their own module handle
        wc.lpfnWndProc = row.proc;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
        wc.lpszClassName = row.name;
        all = RegisterClassW(&wc) && all;
    }
    return all;
}

void hostControlsUnregister() {
    for (const ClassRow& row : CLASSES) UnregisterClassW(row.name, GetModuleHandleW(nullptr));
}

bool hostControlState(void* window, HostControlState* out) {
    HWND hwnd = static_cast<HWND>(window);
    wchar_t name[32] = {0};
    if (!hwnd || !GetClassNameW(hwnd, name, 32)) return false;
    bool ours = false;
    for (const ClassRow& row : CLASSES) ours = ours || !wcscmp(name, row.name);
    Control* c = ours ? controlOf(hwnd) : nullptr;
    if (!c) return false;
    *out = c->state;
    return true;
}
