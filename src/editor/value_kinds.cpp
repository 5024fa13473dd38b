#include "editor/value_kinds.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

const ValueKind VALUE_KINDS[KIND_COUNT] = {
    // speaker  label         text style         format   factor  unit  host code
    {false, "Gain",       KIND_TEXT_VOLUME, nullptr, 1.0,    "dB", 0},
    {false, "LFE",        KIND_TEXT_VOLUME, nullptr, 1.0,    "dB", 4},
    {false, "Divergence", KIND_TEXT_NUMBER, "%.0f",  100.0,  "",   5},
    {false, "Delay",      KIND_TEXT_NUMBER, "%.1f",  1000.0, "ms", 6},
    {true,  "Gain",       KIND_TEXT_VOLUME, nullptr, 1.0,    "dB", 0},
    {true,  "Influence",  KIND_TEXT_NUMBER, "%.0f",  100.0,  "",   -1},
};

int32_t kindFromStripMode(bool isInput, bool isSpeaker, int32_t mode) {
    if (isInput && mode >= 0 && mode <= 3) return mode;
    if (isSpeaker && mode >= 0 && mode <= 1) return KIND_SPEAKER_GAIN + mode;
    return -1;
}

double ampToDb(double amp) {
    constexpr double FLOOR_DB = -150.0;
    if (!(amp >= 0x1p-25)) return FLOOR_DB;
    double dB = std::log(amp) * 8.685889638065037;
    return dB < FLOOR_DB ? FLOOR_DB : dB;
}

double dbToAmp(double dB) { return std::exp(dB * 0.11512925464970228); }

bool parseTypedNumber(const char* text, double* value) {
    if (!text || !std::strpbrk(text, "0123456789")) return false;
    // Only the plain decimal prefix is read: strtod alone would also take "inf", "nan" and
    // hexadecimal, which no one types as a level or a position.
    const char* s = text;
    while (*s == ' ' || *s == '\t') s++;
    std::string number;
    if (*s == '+' || *s == '-') number += *s++;
    bool point = false;
    for (;; s++) {
        if (*s >= '0' && *s <= '9') number += *s;
        else if (*s == '.' && !point) number += *s, point = true;
        else break;
    }
    const char* e = s;
    if ((*e == 'e' || *e == 'E') && number.find_first_of("0123456789") != std::string::npos) {
        std::string exponent(1, *e++);
        if (*e == '+' || *e == '-') exponent += *e++;
        if (*e >= '0' && *e <= '9') {
            while (*e >= '0' && *e <= '9') exponent += *e++;
            number += exponent;
        }
    }
    *value = std::strtod(number.c_str(), nullptr);
    return true;
}
