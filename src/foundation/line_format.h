// The line formatter of the state streams: a printf-like format turned into one line, with
// floats and integers written by hand (the same digits everywhere, '.' whatever the locale) and
// strings quoted so that the token reader gets them back whole. Used by the state streams.
#pragma once

#include <cstdarg>

// Float decimals that %.Nf takes; more goes to the standard library's formatting.
constexpr int FORMAT_DECIMALS_MAX = 20;

// [any thread] Formats into `buffer` of `size` bytes, NUL-terminated, cut at size - 1; LF in the
// format and in strings becomes a space. Forms done here: %% %f %.Nf %d %u %x %X %0Nd %0Nu
// %0Nx %0NX %c %s, and %@ %p (a string quoted by quoteCharFor(text, true)) and %p~ (quoted by
// quoteCharFor(text, false)). A float has no trailing zeros ("%.3f" of 2.5 is "2.5", of 1.0 is
// "1"). Any other form hands the rest of the format with the remaining arguments to vsnprintf.
// Returns the length written; 0, with nothing written, for a null buffer or a size below 1.
int formatLine(char* buffer, int size, const char* format, va_list arguments);
// [any thread] The same with the arguments inline.
int formatText(char* buffer, int size, const char* format, ...);

// [any thread] How a string is best quoted so that the token reader reads it back as one token:
// ' ' for bare (it has no white space and starts with no quote, '#' or ';'; tried when
// `allowBare` or when all three quote kinds occur), else the first of '"', '\'' and '`' that it
// does not hold, and 0 when it holds all three (written between backticks, its backticks turned
// into single quotes). Null or empty text gives '"'.
char quoteCharFor(const char* text, bool allowBare);
