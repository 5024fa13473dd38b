#include "foundation/numbers.h"

#include <charconv>
#include <cmath>
#include <climits>
#include <cstring>

static const char* skipBlanks(const char* p) {
    while (*p == ' ' || *p == '\t' || *p == '\r' || *p == '\n') p++;
    return p;
}

double parseLeadingDouble(const char* text) {
    if (!text) return 0.0;
    const char* p = skipBlanks(text);
    if (*p == '+') p++;  // from_chars takes '-' but not '+'
    double value = 0.0;
    auto result = std::from_chars(p, p + std::strlen(p), value, std::chars_format::general);
    return result.ec == std::errc() ? value : 0.0;
}

int parseLeadingInt(const char* text) {
    if (!text) return 0;
    const char* p = skipBlanks(text);
    bool negative = false;
    if (*p == '+' || *p == '-') negative = *p++ == '-';
    long long value = 0;
    for (; *p >= '0' && *p <= '9'; p++) {
        value = value * 10 + (*p - '0');
        if (value > (long long)INT_MAX + 1) value = (long long)INT_MAX + 1;
    }
    if (negative) value = -value;
    if (value > INT_MAX) value = INT_MAX;
    return int(value);
}

double saneSetting(double value) {
    constexpr double LIMIT = 1e6;
    if (!std::isfinite(value) || std::fpclassify(value) == FP_SUBNORMAL) return 0.0;
    return value > LIMIT ? LIMIT : value < -LIMIT ? -LIMIT : value;
}

uint64_t fnv64(const void* bytes, size_t count, uint64_t hash) {
    const uint8_t* b = static_cast<const uint8_t*>(bytes);
    for (size_t i = 0; i < count; i++) {
        hash *= 0x100000001B3ull;
        hash ^= b[i];
    }
    return hash;
}
