// Locale-independent reading of numbers from text: the decimal floats and integers that ini
// values, parameter texts and vendor calls carry. '.' is the decimal point whatever the locale.
#pragma once

// [any thread] Reads a decimal float from the start of text (leading blanks and a sign allowed)
// as far as it parses. Text that does not start with a number gives 0.0, as does null.
double parseLeadingDouble(const char* text);
// [any thread] The same for a decimal integer, saturated to the int range.
int parseLeadingInt(const char* text);
