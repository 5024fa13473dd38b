#include "foundation/line_format.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

// The part of the buffer still open; one byte always stays for the NUL.
struct LineOut {
    char* buffer;
    int limit;
    int at;

    bool full() const { return at >= limit; }
    int room() const { return limit - at + 1; }
    void put(char c) {
        if (at < limit) buffer[at++] = c;
    }
    void text(const char* s, int n) {
        for (int i = 0; i < n; i++) put(s[i]);
    }
    // A string as the line may hold it: no line breaks.
    void plain(const char* s, char backtickAs = '`') {
        if (!s) return;
        for (; *s && !full(); s++) put(*s == '\n' || *s == '\r' ? ' ' : *s == '`' ? backtickAs : *s);
    }
};

constexpr uint64_t POWERS_OF_TEN[] = {
    1ull,
    10ull,
    100ull,
    1000ull,
    10000ull,
    100000ull,
    1000000ull,
    10000000ull,
    100000000ull,
    1000000000ull,
    10000000000ull,
    100000000000ull,
    1000000000000ull,
    10000000000000ull,
    100000000000000ull,
    1000000000000000ull,
    10000000000000000ull,
    100000000000000000ull,
};
constexpr int DIGITS_MAX = 17;          // integer digits and decimals together
constexpr double FLOAT_ZERO_BELOW = 1e-20;
constexpr double FLOAT_BY_HAND_MAX = 2147483647.0;
constexpr double FLOAT_FIXED_MAX = 1e40;
constexpr int FLOAT_FIXED_DECIMALS_MAX = 8;

int digitCount(uint64_t v) {
    int d = 1;
    while (v >= 10) {
        v /= 10;
        d++;
    }
    return d;
}

// Digits of v, at least `width` of them with zeros on the left, upper or lower case hex.
void putUnsigned(LineOut& out, uint64_t v, int base, bool upper, int width) {
    char digits[24];
    int n = 0;
    const char* set = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    do {
        digits[n++] = set[v % uint64_t(base)];
        v /= uint64_t(base);
    } while (v && n < 24);
    for (int i = n; i < width; i++) out.put('0');
    while (n) out.put(digits[--n]);
}

// The float text: the same digits everywhere and no trailing zeros.
void putFloat(LineOut& out, double value, int decimals) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    int exponent = int((bits >> 52) & 0x7FF);
    if (exponent == 0 || exponent == 0x7FF) value = 0.0;
    if (value < 0.0) {
        out.put('-');
        value = -value;
    }
    if (value < FLOAT_ZERO_BELOW) {
        out.put('0');
        return;
    }
    if (value <= FLOAT_BY_HAND_MAX) {
        if (decimals == 0) {
            putUnsigned(out, uint64_t(value + 0.5), 10, false, 0);
            return;
        }
        uint64_t whole = uint64_t(value);
        int wholeDigits = digitCount(whole);
        if (wholeDigits + decimals > DIGITS_MAX) decimals = DIGITS_MAX - wholeDigits;
        double fraction = value - double(whole);
        uint64_t scale = POWERS_OF_TEN[decimals];
        uint64_t scaled;
        if (decimals <= 9) {
            scaled = uint64_t(fraction * double(scale) + 0.5);
        } else {
            // Two parts of at most nine digits each keep the low digits out of the rounding.
            uint64_t lowScale = POWERS_OF_TEN[decimals - 9];
            double high = fraction * 1e9;
            uint64_t highPart = uint64_t(high);
            uint64_t lowPart = uint64_t((high - double(highPart)) * double(lowScale) + 0.5);
            scaled = highPart * lowScale + lowPart;
        }
        // What lies within the noise of the binary value goes to 0 or carries.
        uint64_t slack = scale >> 10 < 10 ? scale >> 10 : 10;
        if (scaled <= slack) {
            scaled = 0;
        } else if (scaled + slack >= scale) {
            scaled = 0;
            whole++;
        }
        putUnsigned(out, whole, 10, false, 0);
        if (!scaled) return;
        char digits[24];
        int n = 0;
        for (int i = 0; i < decimals; i++) {
            digits[decimals - 1 - i] = char('0' + scaled % 10);
            scaled /= 10;
        }
        n = decimals;
        while (n > 0 && digits[n - 1] == '0') n--;
        out.put('.');
        out.text(digits, n);
        return;
    }
    // Beyond the by-hand range the standard library's conversion, which ignores the locale.
    char text[64];
    std::to_chars_result r;
    if (value <= FLOAT_FIXED_MAX) {
        int shown = decimals < FLOAT_FIXED_DECIMALS_MAX ? decimals : FLOAT_FIXED_DECIMALS_MAX;
        r = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, shown);
    } else {
        r = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, 6);
    }
    if (r.ec == std::errc()) out.text(text, int(r.ptr - text));
}

void putQuoted(LineOut& out, const char* text, bool allowBare) {
    if (out.room() < 3) {
        out.plain(text);
        return;
    }
    char quote = quoteCharFor(text, allowBare);
    if (quote == ' ') {
        out.plain(text);
    } else if (quote == 0) {
        out.put('`');
        out.plain(text, '\'');
        out.put('`');
    } else {
        out.put(quote);
        out.plain(text);
        out.put(quote);
    }
}

// The rest of the format through the standard library, its line breaks turned into spaces.
void putRest(LineOut& out, const char* rest, va_list arguments) {
    int n = std::vsnprintf(out.buffer + out.at, size_t(out.room()), rest, arguments);
    if (n < 0) n = 0;
    if (n > out.room() - 1) n = out.room() - 1;
    for (int i = out.at; i < out.at + n; i++)
        if (out.buffer[i] == '\n') out.buffer[i] = ' ';
    out.at += n;
}

// Reads up to three digits; returns how many there were.
int readCount(const char*& p, int* value) {
    int n = 0;
    *value = 0;
    while (n < 3 && *p >= '0' && *p <= '9') {
        *value = *value * 10 + (*p++ - '0');
        n++;
    }
    return n;
}

}  // namespace

int formatLine(char* buffer, int size, const char* format, va_list arguments) {
    if (!buffer || size < 1) return 0;
    LineOut out{buffer, size - 1, 0};
    const char* f = format ? format : "";
    va_list args;
    va_copy(args, arguments);
    while (*f && !out.full()) {
        if (*f != '%') {
            out.put(*f == '\n' ? ' ' : *f);
            f++;
            continue;
        }
        const char* form = f++;
        int count = 0;
        if (*f == '.') {
            const char* p = f + 1;
            if (readCount(p, &count) && *p == 'f' && count <= FORMAT_DECIMALS_MAX) {
                putFloat(out, va_arg(args, double), count);
                f = p + 1;
                continue;
            }
            putRest(out, form, args);
            break;
        }
        int width = 0;
        if (*f == '0') {
            const char* p = f + 1;
            if (!readCount(p, &width) || !std::strchr("duxX", *p) || !*p) {
                putRest(out, form, args);
                break;
            }
            f = p;
        }
        bool handled = true;
        switch (*f) {
        case '%': out.put('%'); break;
        case 'f': putFloat(out, va_arg(args, double), 6); break;
        case 'd': {
            int v = va_arg(args, int);
            if (v < 0) out.put('-');
            putUnsigned(out, v < 0 ? uint64_t(-int64_t(v)) : uint64_t(v), 10, false, width);
            break;
        }
        case 'u': putUnsigned(out, va_arg(args, unsigned), 10, false, width); break;
        case 'x': putUnsigned(out, va_arg(args, unsigned), 16, false, width); break;
        case 'X': putUnsigned(out, va_arg(args, unsigned), 16, true, width); break;
        case 'c': {
            int c = va_arg(args, int);
            out.put(c == '\n' ? ' ' : char(c));
            break;
        }
        case 's': out.plain(va_arg(args, const char*)); break;
        case '@': putQuoted(out, va_arg(args, const char*), true); break;
        case 'p': {
            bool tilde = f[1] == '~';
            putQuoted(out, va_arg(args, const char*), !tilde);
            if (tilde) f++;
            break;
        }
        default: handled = false;
        }
        if (!handled) {
            putRest(out, form, args);
            break;
        }
        f++;
    }
    va_end(args);
    buffer[out.at] = 0;
    return out.at;
}

int formatText(char* buffer, int size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    int n = formatLine(buffer, size, format, args);
    va_end(args);
    return n;
}

char quoteCharFor(const char* text, bool allowBare) {
    if (!text || !*text) return '"';
    bool doubleQuote = false, singleQuote = false, backtick = false, blank = false;
    for (const char* p = text; *p && !(doubleQuote && singleQuote && backtick && blank); p++) {
        char c = *p;
        doubleQuote = doubleQuote || c == '"';
        singleQuote = singleQuote || c == '\'';
        backtick = backtick || c == '`';
        blank = blank || c == ' ' || c == '\t' || c == '\n' || c == '\r';
    }
    if (allowBare || (doubleQuote && singleQuote && backtick)) {
        char first = text[0];
        if (!blank && !std::strchr("\"'`#;", first)) return ' ';
    }
    if (!doubleQuote) return '"';
    if (!singleQuote) return '\'';
    if (!backtick) return '`';
    return 0;
}
