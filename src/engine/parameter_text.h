// Texts of automation values: the unit label, the display text of a normalised value and the
// reverse reading of a typed text, by value format. Used by the host's parameter calls, the
// vendor text calls and the dialog.
#pragma once

// Value formats of the parameter table.
enum : int {
    PFORMAT_NONE = -1,  // no table row: the Z shape, or a plain number
    PFORMAT_POSITION = 0,
    PFORMAT_PERCENT = 1,
    PFORMAT_GAIN = 2,
    PFORMAT_DELAY = 3,
    PFORMAT_MUTE = 4,
    PFORMAT_SOLO = 5,
};

// The Z shape names, index 0 to 6.
extern const char* const Z_SHAPE_NAMES[7];
constexpr int Z_SHAPE_COUNT = 7;

// [any thread] The unit of a format ("%", "dB", "ms" or ""), not localised.
const char* parameterUnit(int format);

// [any thread] The display text of normalised value p in format, for a stored range min..max;
// zShape selects the Z shape names for PFORMAT_NONE. Writes at most capacity bytes with the NUL;
// returns the bytes written without it (0 when capacity is below 1).
int formatParameterValue(int format, double min, double max, bool zShape, double p, char* out, int capacity);

// [any thread] The normalised value a typed text stands for, unclamped. Text that does not start
// with a number reads as 0. Null text reads as 0.
double parseParameterValue(int format, double min, double max, bool zShape, const char* text);
