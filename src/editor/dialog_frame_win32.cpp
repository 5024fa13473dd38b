// The editor dialog in Win32: creation through the host's localising wrapper, the dialog
// procedure, the opening sequence, the layout that follows the counts, painting around the
// children, the refresh tick and the teardown. The arithmetic lives in the portable units
// (dialog_layout, dialog_stamps, strip_pictures); this file moves windows.
#include "editor/dialog_frame.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cwchar>
#include <string>

#include "editor/dialog_controls.h"
#include "editor/dialog_layout.h"
#include "editor/dialog_parts.h"
#include "editor/dialog_stamps.h"
#include "editor/selected_controls.h"
#include "editor/strip_pictures.h"
#include "engine/instance.h"
#include "engine/position.h"
#include "engine/records.h"
#include "foundation/bitmap.h"
#include "foundation/host_api.h"
#include "foundation/localize.h"
#include "layouts/layouts.h"
#include "platform/platform.h"
#include "platform/utf8_win32.h"
#include "roomview/paint.h"
#include "roomview/scene.h"

namespace {

const char* const SECTION = "kelvanepan";
const char* const ACCESS_SECTION = "kelvanepan_access";

// Controls that carry a text for screen readers, with that text.
struct AccessText {
    int32_t id;
    const char* text;
};
const AccessText ACCESS_TEXTS[] = {
    {1231, "Input channels"}, {1222, "Speakers"},   {1027, "Center"},     {1028, "Side"},
    {1257, "Gain"},           {1035, "X position"}, {1036, "Y position"}, {1037, "Z position"},
    {1038, "X Y degrees"},    {1039, "Z degrees"},
};

// The families of each list, for showing and hiding rows.
const int INPUT_FAMILIES[] = {STRIP_INPUT_MUTE,      STRIP_INPUT_SOLO,      STRIP_INPUT_METER, STRIP_INPUT_REVERSE_X,
                              STRIP_INPUT_REVERSE_Y, STRIP_INPUT_REVERSE_Z, STRIP_INPUT_FADER};
const int SPEAKER_FAMILIES[] = {STRIP_SPEAKER_MUTE, STRIP_SPEAKER_SOLO, STRIP_SPEAKER_METER, STRIP_SPEAKER_FADER};

constexpr UINT MOVE_FLAGS = SWP_NOZORDER | SWP_NOACTIVATE;

HWND item(HWND dialog, int id) { return GetDlgItem(dialog, id); }

// The combo boxes that take and give UTF-8: the edit rows' three lists, the layouts, and the
// mode and paging lists under both strip groups.
const int UTF8_COMBOS[] = {IDC_EDIT_ROW_LIST_1,   IDC_EDIT_ROW_LIST_1 + 1, IDC_EDIT_ROW_LIST_1 + 2,
                           IDC_LAYOUT_LIST,       IDC_INPUT_MODE_LIST,     IDC_INPUT_PAGE_LIST,
                           IDC_SPEAKER_PAGE_LIST, IDC_SPEAKER_MODE_LIST};

// An item of a hooked combo box: the narrow message with the UTF-8 text.
void comboAdd(HWND dialog, int id, const char* utf8) { SendDlgItemMessageA(dialog, id, CB_ADDSTRING, 0, LPARAM(utf8)); }

// A child's rectangle in the dialog's client pixels.
PixelRect childRect(HWND dialog, int id) {
    RECT r{};
    GetWindowRect(item(dialog, id), &r);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&r), 2);
    return PixelRect{r.left, r.top, r.right - r.left, r.bottom - r.top};
}

void moveBy(HWND dialog, int id, int dy) {
    PixelRect r = childRect(dialog, id);
    SetWindowPos(item(dialog, id), nullptr, r.x, r.y + dy, 0, 0, MOVE_FLAGS | SWP_NOSIZE);
}

int sliderOfDb(double dB) { return hostApi.DB2SLIDER ? int(hostApi.DB2SLIDER(dB)) : 0; }

// The face colour in the bitmaps' pixel order.
uint32_t faceColour() {
    uint32_t bgr = hostApi.GSC_darkwrap ? uint32_t(hostApi.GSC_darkwrap(COLOR_3DFACE)) : GetSysColor(COLOR_3DFACE);
    return 0xFF000000u | (bgr & 0xFF) << 16 | (bgr & 0xFF00) | (bgr >> 16 & 0xFF);
}

// ---- layout ----

void placeRows(SurroundPanner* p, HWND dialog) {
    PixelRect inputs = childRect(dialog, IDC_INPUT_GROUP), speakers = childRect(dialog, IDC_SPEAKER_GROUP);
    PixelRect rows[STRIP_FAMILY_COUNT][STRIP_ROWS];
    stripGeometry(p->dpiScale, inputs, speakers, p->dialogMetrics, rows);
    int centre = sliderOfDb(0.0);
    for (int f = 0; f < STRIP_FAMILY_COUNT; f++)
        for (int r = 0; r < STRIP_ROWS; r++) {
            HWND w = item(dialog, stripControlId(f, r));
            SetWindowPos(w, nullptr, rows[f][r].x, rows[f][r].y, rows[f][r].w, rows[f][r].h, MOVE_FLAGS);
            if (f == STRIP_INPUT_FADER || f == STRIP_SPEAKER_FADER) {
                SendMessageW(w, CTL_FADER_SET_RANGE, 0, CTL_FADER_RANGE);
                SendMessageW(w, CTL_FADER_SET_TIC, 0, centre);
            } else if (f == STRIP_INPUT_METER || f == STRIP_SPEAKER_METER) {
                SendMessageW(w, CTL_METER_CONFIG, 0, CTL_METER_CONFIG_VALUE);
            }
        }
}

// Moves a label and its list so that the label's top stands two paddings under a group's bottom.
void placeFooter(SurroundPanner* p, HWND dialog, int labelId, int listId, int groupBottom) {
    int dy = footerShift(groupBottom, childRect(dialog, labelId).y, p->dpiScale);
    if (!dy) return;
    moveBy(dialog, labelId, dy);
    moveBy(dialog, listId, dy);
}

void relayout(SurroundPanner* p, HWND dialog) {
    StripPlan plan = planStrips(p->dpiScale, inputCount(p), p->firstInputStrip, speakerCount(p), p->firstSpeakerStrip);
    int pagingIn = plan.inputPaging ? SW_SHOWNA : SW_HIDE, pagingSp = plan.speakerPaging ? SW_SHOWNA : SW_HIDE;
    ShowWindow(item(dialog, IDC_INPUT_PAGE_LABEL), pagingIn);
    ShowWindow(item(dialog, IDC_INPUT_PAGE_LIST), pagingIn);
    ShowWindow(item(dialog, IDC_SPEAKER_PAGE_LABEL), pagingSp);
    ShowWindow(item(dialog, IDC_SPEAKER_PAGE_LIST), pagingSp);
    for (int r = 0; r < STRIP_ROWS; r++) {
        for (int f : INPUT_FAMILIES) ShowWindow(item(dialog, stripControlId(f, r)), plan.inputRows >> r & 1 ? SW_SHOWNA : SW_HIDE);
        for (int f : SPEAKER_FAMILIES)
            ShowWindow(item(dialog, stripControlId(f, r)), plan.speakerRows >> r & 1 ? SW_SHOWNA : SW_HIDE);
    }

    PixelRect box = childRect(dialog, IDC_INPUT_GROUP);
    SetWindowPos(item(dialog, IDC_INPUT_GROUP), nullptr, 0, 0, box.w, plan.inputGroupHeight, MOVE_FLAGS | SWP_NOMOVE);
    box = childRect(dialog, IDC_INPUT_GROUP);
    int b1 = box.y + box.h;
    placeFooter(p, dialog, IDC_INPUT_MODE_LABEL, IDC_INPUT_MODE_LIST, b1);
    if (plan.inputPaging) placeFooter(p, dialog, IDC_INPUT_PAGE_LABEL, IDC_INPUT_PAGE_LIST, b1);

    box = childRect(dialog, IDC_SPEAKER_GROUP);
    SetWindowPos(item(dialog, IDC_SPEAKER_GROUP), nullptr, 0, 0, box.w, plan.speakerGroupHeight, MOVE_FLAGS | SWP_NOMOVE);
    box = childRect(dialog, IDC_SPEAKER_GROUP);
    int b2 = box.y + box.h;
    placeFooter(p, dialog, IDC_SPEAKER_MODE_LABEL, IDC_SPEAKER_MODE_LIST, b2);
    if (plan.speakerPaging) placeFooter(p, dialog, IDC_SPEAKER_PAGE_LABEL, IDC_SPEAKER_PAGE_LIST, b2);

    RECT outer, client;
    GetWindowRect(dialog, &outer);
    GetClientRect(dialog, &client);
    int frame = (outer.bottom - outer.top) - client.bottom;
    int height = clientHeightFor(b1, b2, p->dpiScale);
    SetWindowPos(dialog, nullptr, 0, 0, outer.right - outer.left, height + frame, SWP_NOMOVE | MOVE_FLAGS);

    GetClientRect(dialog, &client);
    RECT below{0, p->dialogMetrics[METRIC_STRIP_TOP], client.right, client.bottom};
    InvalidateRect(dialog, &below, TRUE);
}

void invalidateNameColumns(SurroundPanner* p, HWND dialog) {
    for (PixelRect c : {inputNameColumn(p->dialogMetrics, p->dpiScale, STRIP_ROWS),
                        speakerNameColumn(p->dialogMetrics, p->dpiScale, STRIP_ROWS)}) {
        RECT r{c.x, c.y, c.x + c.w, c.y + c.h};
        InvalidateRect(dialog, &r, FALSE);
    }
}

// The 50 ms tick: the stamps decide, the window follows in their order.
void tick(SurroundPanner* p, HWND dialog) {
    controlsUpdating++;
    uint32_t plan = planTick(p);
    if (!(plan & TICK_SKIPPED)) {
        if (plan & TICK_RESTART_TIMER) SetTimer(dialog, TIMER_TICK, TICK_PERIOD_MS, nullptr);
        if (plan & TICK_POSITION_ROW) refreshPositionRow(p, dialog);
        if (plan & TICK_RELAYOUT) SendMessageW(dialog, MSG_RELAYOUT, 0, 0);
        if (plan & TICK_REFRESH_ALL) SendMessageW(dialog, MSG_REFRESH_ALL, (plan & TICK_REBUILD_LISTS) ? 1 : 0, 0);
        if (plan & TICK_VALUE_ROW) refreshValueRow(p, dialog);
        if ((plan & TICK_NAMES) && p->nameStripBitmap) {
            drawNameStrips(p, p->nameStripBitmap, p->dpiScale * 16 / 256);
            invalidateNameColumns(p, dialog);
        }
        if (plan & TICK_VIEW_STAMPS) {
            // Both stamps are asked, each stores its own; a speaker change renders the room again.
            bool inputsChanged = inputStampChanged(p, false);
            bool speakersChanged = speakerStampChanged(p, false);
            if (inputsChanged || speakersChanged) {
                p->viewRedrawFlags |= uint32_t(VIEW_REDRAW_PAINT) | (speakersChanged ? uint32_t(VIEW_REDRAW_WORLD) : 0u);
                if (HWND view = GetDlgItem(dialog, IDC_ROOM_VIEW)) InvalidateRect(view, nullptr, FALSE);
            }
        }
        if (plan & TICK_METERS) refreshMeters(p, dialog);
        if (plan & TICK_HOST_STATE) notifyHostStateChanged(p);
        if (plan & TICK_UPDATE_WINDOW) UpdateWindow(dialog);
    }
    controlsUpdating--;
}

// ---- painting ----

// Fills the paint rectangle around the children; group boxes are painted over.
void paintBackground(HWND dialog, const PAINTSTRUCT* ps) {
    HRGN region = CreateRectRgnIndirect(&ps->rcPaint);
    int left = SIMPLEREGION;
    HWND child = GetWindow(dialog, GW_CHILD);
    for (int n = 0; child && n < 200; n++, child = GetWindow(child, GW_HWNDNEXT)) {
        if (!IsWindowVisible(child)) continue;
        wchar_t cls[16] = {0};
        GetClassNameW(child, cls, 16);
        if ((GetWindowLongW(child, GWL_STYLE) & 15) == 7 && !wcscmp(cls, L"Button")) continue;
        RECT r;
        GetWindowRect(child, &r);
        MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&r), 2);
        if (!RectInRegion(region, &r)) continue;
        HRGN cut = CreateRectRgnIndirect(&r);
        left = CombineRgn(region, region, cut, RGN_DIFF);
        DeleteObject(cut);
        if (left == ERROR || left == NULLREGION) break;
    }
    if (left != ERROR && left != NULLREGION) {
        HBRUSH brush = reinterpret_cast<HBRUSH>(SendMessageW(dialog, WM_CTLCOLORDLG, WPARAM(ps->hdc), LPARAM(dialog)));
        bool own = uintptr_t(brush) <= 0x10000;
        if (own) brush = CreateSolidBrush(GetSysColor(COLOR_3DFACE));
        FillRgn(ps->hdc, region, brush);
        if (own) DeleteObject(brush);
    }
    DeleteObject(region);
}

void paint(SurroundPanner* p, HWND dialog) {
    int scale = hostApi.GetWindowDPIScalingForDialog ? hostApi.GetWindowDPIScalingForDialog(dialog) : 0;
    if (scale > 0) p->dpiScale = scale;
    int rowH = p->dpiScale * 16 / 256;
    int width = std::max(p->dialogMetrics[METRIC_INPUT_NAME_WIDTH], p->dialogMetrics[METRIC_SPEAKER_NAME_WIDTH]);
    int height = rowH * 2 * STRIP_ROWS;
    bool redraw = false;
    MIRQ_IBitmap*& names = p->nameStripBitmap;
    if (!names && hostApi.MIRQ_CreateBitmap && width > 0 && height > 0) {
        names = hostApi.MIRQ_CreateBitmap(1, width, height);
        redraw = names != nullptr;
    } else if (names && (names->width() != width || names->height() != height)) {
        names->resize(width, height);
        redraw = true;
    }
    if (names) {
        int wanted = p->dpiScale == 256 ? 0 : p->dpiScale;
        if (names->extended(MIRQ_EXT_GET_ADVISED_SCALE, nullptr) != wanted) {
            names->extended(MIRQ_EXT_SET_ADVISED_SCALE, &p->dpiScale);
            redraw = true;
        }
        if (redraw) drawNameStrips(p, names, rowH);
    }

    PAINTSTRUCT ps;
    BeginPaint(dialog, &ps);
    paintBackground(dialog, &ps);
    HDC source = names ? static_cast<HDC>(names->deviceContext()) : nullptr;
    if (source) {
        StripPlan plan = planStrips(p->dpiScale, inputCount(p), p->firstInputStrip, speakerCount(p), p->firstSpeakerStrip);
        const int32_t* m = p->dialogMetrics;
        BitBlt(ps.hdc, m[METRIC_INPUT_NAME_X], m[METRIC_STRIP_TOP], m[METRIC_INPUT_NAME_WIDTH], rowH * plan.visibleInputs,
               source, 0, 0, SRCCOPY);
        BitBlt(ps.hdc, m[METRIC_SPEAKER_NAME_X], m[METRIC_STRIP_TOP], m[METRIC_SPEAKER_NAME_WIDTH],
               rowH * plan.visibleSpeakers, source, 0, rowH * STRIP_ROWS, SRCCOPY);
    }
    EndPaint(dialog, &ps);
}

// ---- opening and closing ----

void setAccessTexts(HWND dialog, bool clear) {
    if (!hostApi.SetWindowAccessibilityString) return;
    for (const AccessText& a : ACCESS_TEXTS)
        hostApi.SetWindowAccessibilityString(item(dialog, a.id), clear ? nullptr : localize(a.text, ACCESS_SECTION, 0), 0);
}

void initDialog(SurroundPanner* p, HWND dialog) {
    // The window and the display scale
    p->editorWindow = dialog;
    p->dpiScale = hostApi.GetWindowDPIScalingForDialog ? hostApi.GetWindowDPIScalingForDialog(dialog) : 256;
    if (p->dpiScale < 1) p->dpiScale = 256;
    // Screen-reader texts
    setAccessTexts(dialog, false);
    // Combo boxes in UTF-8, before anything is put in them
    for (int id : UTF8_COMBOS) hookComboUtf8(item(dialog, id));
    // Layouts
    for (int k = 0; k < 20; k++) {
        const LayoutRow* row = layoutRow(LAYOUT_MENU_ORDER[k]);
        comboAdd(dialog, IDC_LAYOUT_LIST, row ? localize(row->name, SECTION, 0) : "");
    }
    // Speaker presets need the host's rename prompt.
    if (!hostApi.DoRenameDialogEx) ShowWindow(item(dialog, IDC_SPEAKER_PRESETS), SW_HIDE);
    // Degree signs: the byte 0xB0 of the system code page, which the text layer passes on narrow
    setDlgItemTextUtf8(dialog, IDC_ANGLE_XY_LABEL, "XY\xB0:");
    setDlgItemTextUtf8(dialog, IDC_ANGLE_Z_LABEL, "Z\xB0:");
    // Fader modes
    for (const char* text : {"Gain", "LFE", "Divergence", "Delay"}) comboAdd(dialog, IDC_INPUT_MODE_LIST, localize(text, SECTION, 0));
    for (const char* text : {"Gain", "Influence"}) comboAdd(dialog, IDC_SPEAKER_MODE_LIST, localize(text, SECTION, 0));
    // Center and Side
    SendDlgItemMessageW(dialog, IDC_CENTER_FADER, CTL_FADER_CAPTION, 1, LPARAM(localize("Center %", SECTION, 0)));
    SendDlgItemMessageW(dialog, IDC_SIDE_FADER, CTL_FADER_CAPTION, 1, LPARAM(localize("Side %", SECTION, 0)));
    SendDlgItemMessageW(dialog, IDC_CENTER_FADER, CTL_FADER_SET_TIC, 0, 1000);
    SendDlgItemMessageW(dialog, IDC_SIDE_FADER, CTL_FADER_SET_TIC, 0, 1000);
    // Knobs of the edit rows
    for (int k = 0; k < 3; k++) {
        SendDlgItemMessageW(dialog, IDC_EDIT_ROW_KNOB_1 + k, CTL_KNOB_MODE, CTL_KNOB_MODE_VALUE, 0);
        SendDlgItemMessageW(dialog, IDC_EDIT_ROW_KNOB_1 + k, CTL_KNOB_GRAB_MESSAGE, MSG_KNOB_GRAB, 0);
    }
    // Button skins
    buildStripSkins(p, scaled(12, p->dpiScale), faceColour());
    // Strip geometry
    placeRows(p, dialog);
    // Fresh stamps but the host's, so that opening reports nothing to the host
    p->selectionState[SELECTION_VALUE_KIND] = -1;
    p->viewRedrawFlags = 3;
    for (int s = 0; s < STAMP_HOST_STATE; s++) p->editorStamps[s] = 0;
    // First refresh, layout, show, timers
    SendMessageW(dialog, MSG_REFRESH_ALL, 1, 0);
    SendMessageW(dialog, MSG_RELAYOUT, 0, 0);
    ShowWindow(dialog, SW_SHOWNA);
    SetTimer(dialog, TIMER_TICK, TICK_PERIOD_MS, nullptr);
    SetTimer(dialog, TIMER_SENDING_TRACKS, 1000, nullptr);
}

void destroyDialog(SurroundPanner* p, HWND dialog) {
    p->editorWindow = nullptr;
    mirqDestroy(p->nameStripBitmap);
    p->nameStripBitmap = nullptr;
    // The view's cameras, scene objects, textures and bitmaps go with the window that showed them.
    releaseRoomView(p);
    setAccessTexts(dialog, true);
    freeStripSkins(p);
    nameEditorDialogGone(p);
}

// Typing into a number field starts its timer again; only keys count, not the dialog's own writes.
void restartDebounce(HWND dialog, WPARAM wParam) {
    int timer = HIWORD(wParam) == EN_CHANGE ? debounceTimerFor(LOWORD(wParam)) : 0;
    if (!timer || controlsUpdating > 0) return;
    KillTimer(dialog, UINT_PTR(timer));
    SetTimer(dialog, UINT_PTR(timer), DEBOUNCE_MS, nullptr);
}

// The parts' own messages: each part says whether a message was its own.
bool partMessage(SurroundPanner* p, const DialogMessage& m) {
    return selectedControlsMessage(p, m) || channelStripsMessage(p, m) || dialogMenusMessage(p, m) ||
           nameEditorMessage(p, m);
}

INT_PTR memberProc(SurroundPanner* p, HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    DialogMessage m{dialog, message, wParam, lParam};
    switch (message) {
        case WM_INITDIALOG:
            initDialog(p, dialog);
            return 0;
        case WM_DESTROY:
            destroyDialog(p, dialog);
            return 0;
        case WM_TIMER:
            if (wParam == TIMER_TICK) {
                tick(p, dialog);
            } else if (wParam >= 2 && wParam <= 7) {
                // A debounce fires once, a second after the last key.
                KillTimer(dialog, wParam);
                applyDebouncedFields(p, dialog, int(wParam));
            } else {
                partMessage(p, m);
            }
            return 0;
        case WM_COMMAND:
            restartDebounce(dialog, wParam);
            partMessage(p, m);
            return 0;
        case WM_PAINT:
            paint(p, dialog);
            return 0;
        case WM_ERASEBKGND:
            return 1;
        case MSG_REFRESH_ALL:
            controlsUpdating++;
            refreshStrips(p, dialog);
            refreshSelectedControls(p, dialog, wParam != 0);
            controlsUpdating--;
            return 0;
        case MSG_REFRESH_CENTER_SIDE:
            refreshCenterSide(p, dialog);
            return 0;
        case MSG_RELAYOUT:
            relayout(p, dialog);
            rebuildPagingLists(p, dialog);
            return 0;
        case MSG_KNOB_GRAB:
            beginEdit(p);
            return 0;
        default:
            partMessage(p, m);
            return 0;
    }
}

INT_PTR CALLBACK outerProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) SetWindowLongPtrW(dialog, GWLP_USERDATA, lParam);
    SurroundPanner* p = reinterpret_cast<SurroundPanner*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
    if (!p) return 0;
    return memberProc(p, dialog, message, wParam, lParam);
}

}  // namespace

intptr_t editorOpen(SurroundPanner* p, void* parent) {
    editorClose(p);
    if (!parent) return 0;
    static const uint16_t GROUPS[] = {0x50A, 0x508, 0x506, 0, 0x50B, 0x4D0, 0, 0};
    if (hostApi.vac_createGroupsFromTab) hostApi.vac_createGroupsFromTab(GROUPS);
    HINSTANCE module = static_cast<HINSTANCE>(moduleHandle());
    if (!module) module = GetModuleHandleW(nullptr);
    DLGPROC proc = outerProc;
    LPARAM param = LPARAM(p);
    void* scratch[5] = {nullptr, nullptr, nullptr, nullptr, nullptr};
    if (hostApi.__localizePrepareDialog) {
        void* wrapped = hostApi.__localizePrepareDialog("kelvanepan_", module, MAKEINTRESOURCEA(DIALOG_TEMPLATE_ID),
                                                        reinterpret_cast<void*>(proc), p, scratch, 5);
        if (wrapped) {
            proc = reinterpret_cast<DLGPROC>(wrapped);
            param = LPARAM(scratch);
        }
    }
    // A wide dialog: its fields keep text in any script, where narrow ones would hold it in the
    // system code page. The combo boxes take UTF-8 through their hook all the same.
    HWND dialog = CreateDialogParamW(module, MAKEINTRESOURCEW(DIALOG_TEMPLATE_ID), static_cast<HWND>(parent), proc, param);
    if (hostApi.vac_createGroupsFromTab) hostApi.vac_createGroupsFromTab(nullptr);
    return dialog ? 1 : 0;
}

void editorClose(SurroundPanner* p) {
    HWND dialog = static_cast<HWND>(p->editorWindow);
    if (!dialog) return;
    // Hidden first, the children go without a repaint of what lies under each of them.
    ShowWindow(dialog, SW_HIDE);
    DestroyWindow(dialog);
}

void editorRect(SurroundPanner* p, ERect* rect) {
    RECT client{0, 0, 520, 640};
    if (p->editorWindow) GetClientRect(static_cast<HWND>(p->editorWindow), &client);
    *rect = ERect{int16_t(client.top), int16_t(client.left), int16_t(client.bottom), int16_t(client.right)};
}
