// The four window classes a plugin's dialog template may name and the host provides: a knob, a
// horizontal fader, a horizontal level meter and a button drawn from a three-frame skin. The
// host registers them before it opens effects, kelvanepan-daw before it makes its first instance.
// Windows builds only; kelvane-host's editor and the tests that drive the controls call this.
#pragma once

#include <cstdint>

// The messages the controls answer.
enum : uint32_t {
    HOSTCTL_FADER_GET_POS = 0x400,    // returns the position
    HOSTCTL_FADER_SET_TIC = 0x404,    // lParam: the centre mark
    HOSTCTL_FADER_SET_POS = 0x405,    // wParam: redraw, lParam: the position
    HOSTCTL_FADER_SET_RANGE = 0x406,  // lParam: minimum in the low word, maximum in the high word
    HOSTCTL_FADER_CAPTION = 0x2B0F,   // wParam 1: lParam a caption text; wParam 0: lParam 1 greyed, 0 normal
    HOSTCTL_KNOB_MODE = 0x7EA,        // wParam: the mode
    HOSTCTL_KNOB_GRAB_MESSAGE = 0x7EE,  // wParam: what the knob sends its parent when grabbed
    HOSTCTL_METER_CONFIG = 0x1EF4,    // lParam: the configuration
    HOSTCTL_METER_PEAKS = 0x7F3,      // lParam: two doubles, left and right peak in dB
    HOSTCTL_BUTTON_SKIN = 0xF7,       // BM_SETIMAGE with wParam 0x8001, lParam a ButtonSkin*
};
constexpr uintptr_t HOSTCTL_SKIN_IMAGE_TYPE = 0x8001;
constexpr int HOSTCTL_KNOB_NO_MOVE = 0x8000;

// What a control holds, for the host's own checks. Fields a class does not use stay 0.
struct HostControlState {
    int32_t position;
    int32_t rangeMin, rangeMax;
    int32_t tic;
    int32_t greyed;
    char caption[64];
    int32_t knobMode;
    uint32_t grabMessage;
    int32_t meterConfig;
    double peakLeft, peakRight;
    const void* skin;
    int32_t frame;  // the skin frame drawn last: 0 normal, 1 under the pointer, 2 pressed
};

// [window thread] Registers the four classes for this process; true when all are registered.
bool hostControlsRegister();
// [window thread] Unregisters them; windows of these classes must be gone.
void hostControlsUnregister();
// [window thread] The state of a window of one of the classes; false for any other window.
bool hostControlState(void* window, HostControlState* out);
