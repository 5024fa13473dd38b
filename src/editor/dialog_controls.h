// The editor dialog's control table: ids, window classes, styles, texts and rectangles in dialog
// units, one row per control, and the sixteen-row families of the channel strips. The dialog
// template (dialog.rc) is this table written out for the resource compiler; the dialog, its
// layout and the template's read-back test all take their numbers from here.
#pragma once

#include <cstdint>

// Window styles with their Win32 values, kept here so that no system header is needed.
enum : uint32_t {
    STYLE_CHILD = 0x40000000,
    STYLE_VISIBLE = 0x10000000,
    STYLE_BORDER = 0x00800000,
    STYLE_VSCROLL = 0x00200000,
    STYLE_TABSTOP = 0x00010000,
    STYLE_DIALOG_SETFONT = 0x40,
    STYLE_DIALOG_CONTROL = 0x400,
    STYLE_BUTTON_PUSH = 0x0,
    STYLE_BUTTON_AUTOCHECKBOX = 0x3,
    STYLE_BUTTON_GROUPBOX = 0x7,
    STYLE_BUTTON_AUTORADIO = 0x9,
    STYLE_BUTTON_OWNERDRAW = 0xB,
    STYLE_EDIT_RIGHT = 0x2,
    STYLE_EDIT_AUTOHSCROLL = 0x80,
    STYLE_COMBO_DROPDOWNLIST = 0x3,
    STYLE_STATIC_RIGHT = 0x2,
};

// The kinds of control the table uses, as styles on top of child and visible.
enum : uint32_t {
    KIND_CHECK = STYLE_BUTTON_AUTOCHECKBOX | STYLE_TABSTOP,
    KIND_RADIO = STYLE_BUTTON_AUTORADIO,
    KIND_PUSH = STYLE_BUTTON_PUSH | STYLE_TABSTOP,
    KIND_GROUP = STYLE_BUTTON_GROUPBOX,
    KIND_EDIT = STYLE_BORDER | STYLE_TABSTOP | STYLE_EDIT_AUTOHSCROLL | STYLE_EDIT_RIGHT,
    KIND_COMBO = STYLE_COMBO_DROPDOWNLIST | STYLE_VSCROLL | STYLE_TABSTOP,
    KIND_RIGHT = STYLE_STATIC_RIGHT,
    KIND_HOT_BUTTON = STYLE_BUTTON_OWNERDRAW | 0x40,
};

// The template itself: resource id, size in dialog units, font.
constexpr int DIALOG_TEMPLATE_ID = 101;
constexpr int DIALOG_WIDTH_DU = 443;
constexpr int DIALOG_HEIGHT_DU = 430;
constexpr uint32_t DIALOG_STYLE = STYLE_CHILD | STYLE_DIALOG_CONTROL | STYLE_DIALOG_SETFONT;
constexpr const char* DIALOG_FONT_FACE = "MS Shell Dlg";
constexpr int DIALOG_FONT_POINTS = 8;

// The window classes the template names. The first is the room view's own; the next four are
// the host's.
constexpr const char* CLASS_ROOM_VIEW = "Kelvane2Window";
constexpr const char* CLASS_KNOB = "BRASSELknob";
constexpr const char* CLASS_FADER = "BRASSELhfader";
constexpr const char* CLASS_METER = "BRASSELhorzvu";
constexpr const char* CLASS_HOT_BUTTON = "HotTrackButton";

// Messages the dialog sends to the host's controls, with the fixed values it sends.
enum : uint32_t {
    CTL_FADER_GET_POS = 0x400,
    CTL_FADER_SET_TIC = 0x404,
    CTL_FADER_SET_POS = 0x405,
    CTL_FADER_SET_RANGE = 0x406,
    CTL_FADER_CAPTION = 0x2B0F,  // wParam 1: a caption; wParam 0: greyed (1) or normal (0)
    CTL_KNOB_MODE = 0x7EA,
    CTL_KNOB_GRAB_MESSAGE = 0x7EE,
    CTL_METER_CONFIG = 0x1EF4,
    CTL_METER_PEAKS = 0x7F3,
};
constexpr int CTL_FADER_RANGE = 1000 << 16;  // 0 .. 1000
constexpr int CTL_KNOB_MODE_VALUE = 3;
constexpr int CTL_METER_CONFIG_VALUE = 6;
constexpr uintptr_t CTL_SKIN_IMAGE_TYPE = 0x8001;  // BM_SETIMAGE with a ButtonSkin

// Control ids the dialog code names.
enum : int32_t {
    IDC_INPUT_GROUP = 1000,
    IDC_SPEAKER_GROUP = 1001,
    IDC_ROOM_VIEW = 1023,
    IDC_CENTER_FADER = 1079,
    IDC_SIDE_FADER = 1080,
    IDC_EDIT_ROW_KNOB_1 = 1134,
    IDC_LAYOUT_LIST = 1131,
    IDC_CENTER_EDIT = 1027,
    IDC_PAN_LAW = 1031,
    IDC_SIDE_EDIT = 1028,
    IDC_INPUT_COUNT = 1231,
    IDC_SPEAKER_COUNT = 1222,
    IDC_POS_X = 1035,
    IDC_POS_Y = 1036,
    IDC_POS_Z = 1037,
    IDC_ANGLE_XY = 1038,
    IDC_ANGLE_Z = 1039,
    IDC_ANGLE_XY_LABEL = 1224,
    IDC_ANGLE_Z_LABEL = 1225,
    IDC_VALUE_EDIT = 1257,
    IDC_SPEAKER_PRESETS = 1341,
    IDC_INPUT_MODE_LABEL = 1276,
    IDC_INPUT_MODE_LIST = 1277,
    IDC_INPUT_PAGE_LABEL = 1278,
    IDC_INPUT_PAGE_LIST = 1279,
    IDC_SPEAKER_PAGE_LABEL = 1280,
    IDC_SPEAKER_PAGE_LIST = 1281,
    IDC_SPEAKER_MODE_LABEL = 1282,
    IDC_SPEAKER_MODE_LIST = 1283,
};

// One control of the template. Rectangles are x, y, width, height in dialog units; the style
// holds everything beyond child and visible, which every control has.
struct DialogControl {
    int32_t id;
    const char* className;
    uint32_t style;
    const char* text;
    int16_t x, y, w, h;
};

extern const DialogControl DIALOG_CONTROLS[];
extern const int DIALOG_CONTROL_COUNT;

// The channel strips: families of STRIP_ROWS consecutive ids, one control per visible row.
constexpr int STRIP_ROWS = 16;
enum StripRole : uint8_t {
    STRIP_INPUT_MUTE,
    STRIP_INPUT_SOLO,
    STRIP_INPUT_METER,
    STRIP_INPUT_REVERSE_X,
    STRIP_INPUT_REVERSE_Y,
    STRIP_INPUT_REVERSE_Z,
    STRIP_INPUT_FADER,
    STRIP_SPEAKER_MUTE,
    STRIP_SPEAKER_SOLO,
    STRIP_SPEAKER_METER,
    STRIP_SPEAKER_FADER,
    STRIP_FAMILY_COUNT
};

// A family's template rectangle for row r is x, STRIP_TEMPLATE_TOP + r * STRIP_TEMPLATE_STEP,
// w, h; the layout replaces it when the dialog opens.
constexpr int STRIP_TEMPLATE_TOP = 260;
constexpr int STRIP_TEMPLATE_STEP = 10;
struct StripFamily {
    int32_t firstId;
    const char* className;
    uint32_t style;
    const char* text;
    int16_t x, w, h;
};
// Indexed by StripRole; the template lists the families in DIALOG_STRIP_ORDER.
extern const StripFamily STRIP_FAMILIES[STRIP_FAMILY_COUNT];
extern const uint8_t DIALOG_STRIP_ORDER[STRIP_FAMILY_COUNT];

// [any thread] The id of a family's control in row r.
inline int32_t stripControlId(int role, int row) { return STRIP_FAMILIES[role].firstId + row; }

// [any thread] Every control of the template in template order, strips included: fills *out for
// index 0 .. dialogControlTotal() - 1 and returns true; false past the end.
int dialogControlTotal();
bool dialogControlAt(int index, DialogControl* out);

// The number fields that take effect a second after the last key, each with its timer; several
// fields that apply together share one.
struct DebouncedEdit {
    int32_t id;
    int32_t timer;
};
extern const DebouncedEdit DEBOUNCED_EDITS[];
extern const int DEBOUNCED_EDIT_COUNT;
constexpr int DEBOUNCE_MS = 1000;

// [any thread] The debounce timer of an edit control, 0 for a control that has none.
int debounceTimerFor(int32_t id);
