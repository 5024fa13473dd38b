// Locale-independent reading of numbers from text: the decimal floats and integers that ini
// values, parameter texts, vendor calls and preset files carry. '.' is the decimal point
// whatever the locale. Also the bound every stored setting is read through, and the hash the
// change stamps are made of.
#pragma once

#include <cstddef>
#include <cstdint>

// [any thread] Reads a decimal float from the start of text (leading blanks and a sign allowed)
// as far as it parses. Text that does not start with a number gives 0.0, as does null.
double parseLeadingDouble(const char* text);
// [any thread] The same for a decimal integer, saturated to the int range.
int parseLeadingInt(const char* text);

// [any thread] A setting read from a stored block or file: NaN, infinite, subnormal or beyond a
// million comes only from damage, and reads as 0 (or the nearest bound) so that the mix stays
// finite and quick.
double saneSetting(double value);

// [any thread] 64-bit FNV-1 of count bytes (multiply, then XOR, per byte), continuing from hash;
// FNV_OFFSET_BASIS starts a new one. The editor's and the view's change stamps are made of it.
constexpr uint64_t FNV_OFFSET_BASIS = 0xCBF29CE484222325ull;
uint64_t fnv64(const void* bytes, size_t count, uint64_t hash);
