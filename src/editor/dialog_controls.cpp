// The editor dialog's control table and the strip families.
#include "editor/dialog_controls.h"

namespace {
constexpr const char* BUTTON = "Button";
constexpr const char* EDIT = "Edit";
constexpr const char* STATIC = "Static";
constexpr const char* COMBO = "ComboBox";
}  // namespace

const DialogControl DIALOG_CONTROLS[] = {
    // Room view, counts, layout list and the pan law
    {1023, CLASS_ROOM_VIEW, STYLE_TABSTOP, "", 7, 7, 248, 256},
    {1259, STATIC, 0, "Input channels:", 286, 10, 50, 8},
    {1231, EDIT, KIND_EDIT, "", 343, 8, 17, 13},
    {1024, BUTTON, KIND_PUSH, "Reset", 364, 9, 35, 12},
    {1199, BUTTON, KIND_CHECK, "4=LFE", 402, 9, 34, 10},
    {1131, COMBO, KIND_COMBO, "", 260, 25, 78, 30},
    {1222, EDIT, KIND_EDIT, "", 343, 24, 17, 13},
    {1031, BUTTON, KIND_PUSH, "Pan law", 364, 25, 35, 12},
    {1230, BUTTON, KIND_CHECK, "4=LFE", 402, 25, 34, 10},
    {1218, BUTTON, KIND_CHECK, "Lock", 402, 36, 34, 10},
    {1341, BUTTON, KIND_PUSH, "Speaker presets", 260, 40, 78, 12},
    // Group edit rows
    {1227, BUTTON, KIND_GROUP, "", 261, 59, 168, 64},
    {1128, COMBO, KIND_COMBO, "", 267, 72, 76, 30},
    {1129, COMBO, KIND_COMBO, "", 267, 88, 76, 30},
    {1130, COMBO, KIND_COMBO, "", 267, 104, 76, 30},
    {1134, CLASS_KNOB, STYLE_TABSTOP, "", 347, 72, 14, 14},
    {1135, CLASS_KNOB, STYLE_TABSTOP, "", 347, 88, 14, 14},
    {1136, CLASS_KNOB, STYLE_TABSTOP, "", 347, 104, 14, 14},
    {1236, BUTTON, KIND_PUSH, "Reset", 365, 72, 28, 12},
    {1237, BUTTON, KIND_PUSH, "Reset", 365, 88, 28, 12},
    {1238, BUTTON, KIND_PUSH, "Reset", 365, 104, 28, 12},
    {1233, BUTTON, KIND_PUSH, "Reflect", 397, 72, 28, 12},
    {1234, BUTTON, KIND_PUSH, "Reflect", 397, 88, 28, 12},
    {1235, BUTTON, KIND_PUSH, "Reflect", 397, 104, 28, 12},
    // Edit modes
    {1290, BUTTON, KIND_RADIO, "Edit selected", 267, 126, 60, 10},
    {1291, BUTTON, KIND_RADIO, "Edit all", 267, 139, 60, 10},
    {1288, BUTTON, KIND_CHECK, "1D Edit", 350, 126, 38, 10},
    {1286, BUTTON, KIND_CHECK, "Lock", 390, 126, 30, 10},
    {1232, BUTTON, KIND_CHECK, "Respect XYZ flip", 350, 139, 70, 10},
    // Position row
    {1040, BUTTON, KIND_PUSH, "", 264, 160, 58, 12},
    {1340, STATIC, KIND_RIGHT, "XYZ:", 329, 162, 16, 8},
    {1035, EDIT, KIND_EDIT, "", 347, 160, 27, 12},
    {1036, EDIT, KIND_EDIT, "", 376, 160, 27, 12},
    {1037, EDIT, KIND_EDIT, "", 405, 160, 27, 12},
    {1224, STATIC, KIND_RIGHT, "XY:", 329, 176, 16, 8},
    {1038, EDIT, KIND_EDIT, "", 347, 174, 27, 12},
    {1225, STATIC, KIND_RIGHT, "Z:", 386, 176, 16, 8},
    {1039, EDIT, KIND_EDIT, "", 405, 174, 27, 12},
    // Center and Side
    {1229, STATIC, KIND_RIGHT, "Center:", 260, 204, 32, 8},
    {1079, CLASS_FADER, STYLE_TABSTOP, "", 296, 201, 89, 13},
    {1027, EDIT, KIND_EDIT, "", 392, 202, 24, 12},
    {1220, STATIC, 0, "%", 418, 204, 13, 8},
    {1258, STATIC, KIND_RIGHT, "Side:", 260, 219, 32, 8},
    {1080, CLASS_FADER, STYLE_TABSTOP, "", 296, 216, 89, 13},
    {1028, EDIT, KIND_EDIT, "", 392, 217, 24, 12},
    {1030, STATIC, 0, "%", 418, 219, 13, 8},
    // Value row
    {1025, BUTTON, KIND_PUSH, "", 264, 246, 68, 12},
    {1026, BUTTON, KIND_PUSH, "", 336, 246, 52, 12},
    {1257, EDIT, KIND_EDIT, "", 392, 246, 24, 12},
    {1223, STATIC, 0, "", 418, 248, 13, 8},
    // Strip lists and the lines under them
    {1000, BUTTON, KIND_GROUP, "Inputs", 7, 265, 221, 162},
    {1001, BUTTON, KIND_GROUP, "Speakers (outputs)", 230, 265, 192, 162},
    {1278, STATIC, KIND_RIGHT, "Display:", 7, 418, 24, 8},
    {1279, COMBO, KIND_COMBO, "", 34, 416, 36, 30},
    {1276, STATIC, KIND_RIGHT, "Gain/LFE/Diverge/Delay:", 73, 418, 96, 8},
    {1277, COMBO, KIND_COMBO, "", 172, 416, 52, 30},
    {1280, STATIC, KIND_RIGHT, "Display:", 231, 418, 24, 8},
    {1281, COMBO, KIND_COMBO, "", 258, 416, 36, 30},
    {1282, STATIC, KIND_RIGHT, "Gain/Influence:", 294, 418, 70, 8},
    {1283, COMBO, KIND_COMBO, "", 369, 416, 52, 30},
};
const int DIALOG_CONTROL_COUNT = int(sizeof DIALOG_CONTROLS / sizeof DIALOG_CONTROLS[0]);

const StripFamily STRIP_FAMILIES[STRIP_FAMILY_COUNT] = {
    {1142, CLASS_HOT_BUTTON, KIND_HOT_BUTTON, "Mute", 18, 8, 6},       // STRIP_INPUT_MUTE
    {1162, CLASS_HOT_BUTTON, KIND_HOT_BUTTON, "Solo", 29, 8, 6},       // STRIP_INPUT_SOLO
    {1108, CLASS_METER, 0, "", 42, 67, 6},                             // STRIP_INPUT_METER
    {1292, CLASS_HOT_BUTTON, KIND_HOT_BUTTON, "Reverse X", 114, 8, 6}, // STRIP_INPUT_REVERSE_X
    {1308, CLASS_HOT_BUTTON, KIND_HOT_BUTTON, "Reverse Y", 125, 8, 6}, // STRIP_INPUT_REVERSE_Y
    {1324, CLASS_HOT_BUTTON, KIND_HOT_BUTTON, "Reverse Z", 136, 8, 6}, // STRIP_INPUT_REVERSE_Z
    {1239, CLASS_FADER, 0, "", 129, 50, 10},                           // STRIP_INPUT_FADER
    {1182, CLASS_HOT_BUTTON, KIND_HOT_BUTTON, "Mute", 240, 8, 6},      // STRIP_SPEAKER_MUTE
    {1202, CLASS_HOT_BUTTON, KIND_HOT_BUTTON, "Solo", 252, 8, 6},      // STRIP_SPEAKER_SOLO
    {1088, CLASS_METER, 0, "", 264, 67, 6},                            // STRIP_SPEAKER_METER
    {1260, CLASS_FADER, 0, "", 337, 50, 10},                           // STRIP_SPEAKER_FADER
};

const uint8_t DIALOG_STRIP_ORDER[STRIP_FAMILY_COUNT] = {
    STRIP_INPUT_METER,     STRIP_INPUT_MUTE,    STRIP_INPUT_SOLO,    STRIP_INPUT_REVERSE_X,
    STRIP_INPUT_REVERSE_Y, STRIP_INPUT_REVERSE_Z, STRIP_INPUT_FADER, STRIP_SPEAKER_METER,
    STRIP_SPEAKER_MUTE,    STRIP_SPEAKER_SOLO,  STRIP_SPEAKER_FADER,
};

int dialogControlTotal() { return DIALOG_CONTROL_COUNT + STRIP_FAMILY_COUNT * STRIP_ROWS; }

bool dialogControlAt(int index, DialogControl* out) {
    if (index < 0 || index >= dialogControlTotal()) return false;
    if (index < DIALOG_CONTROL_COUNT) {
        *out = DIALOG_CONTROLS[index];
        return true;
    }
    index -= DIALOG_CONTROL_COUNT;
    int row = index % STRIP_ROWS;
    const StripFamily& f = STRIP_FAMILIES[DIALOG_STRIP_ORDER[index / STRIP_ROWS]];
    *out = DialogControl{f.firstId + row, f.className, f.style, f.text, f.x,
                         int16_t(STRIP_TEMPLATE_TOP + STRIP_TEMPLATE_STEP * row), f.w, f.h};
    return true;
}

const DebouncedEdit DEBOUNCED_EDITS[] = {
    {1257, 2},                        // the value row
    {1231, 3},                        // input count
    {1222, 4},                        // speaker count
    {1027, 5}, {1028, 5},             // Center and Side
    {1035, 6}, {1036, 6}, {1037, 6},  // X, Y, Z
    {1038, 7}, {1039, 7},             // the two angles
};
const int DEBOUNCED_EDIT_COUNT = int(sizeof DEBOUNCED_EDITS / sizeof DEBOUNCED_EDITS[0]);

int debounceTimerFor(int32_t id) {
    for (const DebouncedEdit& e : DEBOUNCED_EDITS)
        if (e.id == id) return e.timer;
    return 0;
}
