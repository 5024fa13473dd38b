// Texts of automation values: the unit label, the display text of a normalised value and the
// reverse reading of a typed text, by value format. Used by the host's parameter calls, the
// vendor text calls and the dialog.
#pragma once

#include "engine/parameter_table.h"

// The Z shape names, index 0 to 6.
constexpr int Z_SHAPE_COUNT = PARAMETER_ZSHAPE_STEPS + 1;
extern const char* const Z_SHAPE_NAMES[Z_SHAPE_COUNT];

// [any thread] The unit of a format ("%", "dB", "ms" or ""), not localised.
const char* parameterUnit(int format);

// [any thread] The display text of normalised value v of a parameter row, in the row's format.
// Writes at most capacity bytes with the NUL; returns the bytes written without it (0 when
// capacity is below 1).
int formatParameterValue(const ParameterRow& row, double v, char* out, int capacity);

// [any thread] The normalised value a typed text stands for in the row's format, unclamped. Text
// that does not start with a number reads as 0. Null text reads as 0.
double parseParameterValue(const ParameterRow& row, const char* text);
