#include "engine/parameter_text.h"

#include <cmath>
#include <cstdio>
#include <strings.h>

#include "foundation/localize.h"
#include "foundation/numbers.h"

const char* const Z_SHAPE_NAMES[Z_SHAPE_COUNT] = {
    "none",
    "dome +",
    "dome -",
    "wedge +",
    "wedge -",
    "ceiling +",
    "ceiling -",
};

static const char* const TEXT_SECTION = "kelvanepan";

// 20 / ln 10 and its inverse: dB from a natural logarithm and back; seconds to milliseconds.
constexpr double DB_PER_NEPER = 8.685889638065037;
constexpr double NEPER_PER_DB = 0.11512925464970228;
// Gains below 2^-25 show as the floor; at -144 dB or below the text is "-inf".
constexpr double GAIN_FLOOR = 1.0 / 33554432.0;
constexpr double DB_FLOOR = -150.0;
constexpr double DB_SHOWN_AS_INF = -144.0;
constexpr double MS_PER_SECOND = 1000.0;

const char* parameterUnit(int format) {
    switch (format) {
        case PFORMAT_PERCENT: return "%";
        case PFORMAT_GAIN: return "dB";
        case PFORMAT_DELAY: return "ms";
        default: return "";
    }
}

static bool sameNoCase(const char* a, const char* b) { return strcasecmp(a, b) == 0; }

int formatParameterValue(const ParameterRow& row, double v, char* out, int capacity) {
    if (!out || capacity < 1) return 0;
    int n = 0;
    double plain = plainFromNormalised(row, v);
    switch (row.format) {
        case PFORMAT_POSITION:
        case PFORMAT_PERCENT:
            n = std::snprintf(out, size_t(capacity), "%.0f", plain * 100.0);
            break;
        case PFORMAT_GAIN: {
            double g = plain;
            double db = g < GAIN_FLOOR ? DB_FLOOR : std::fmax(DB_FLOOR, std::log(g) * DB_PER_NEPER);
            n = db <= DB_SHOWN_AS_INF ? std::snprintf(out, size_t(capacity), "-inf")
                                      : std::snprintf(out, size_t(capacity), "%.1f", db);
            break;
        }
        case PFORMAT_DELAY:
            n = std::snprintf(out, size_t(capacity), "%.1f", plain * MS_PER_SECOND);
            break;
        case PFORMAT_MUTE:
            n = std::snprintf(out, size_t(capacity), "%s",
                              localize(plain != row.min ? "muted" : "not muted", TEXT_SECTION, 0));
            break;
        case PFORMAT_SOLO:
            n = std::snprintf(out, size_t(capacity), "%s",
                              localize(plain != row.min ? "soloed" : "not soloed", TEXT_SECTION, 0));
            break;
        case PFORMAT_ZSHAPE: {
            int i = int(plain);
            n = std::snprintf(out, size_t(capacity), "%s",
                              i >= 0 && i < Z_SHAPE_COUNT ? localize(Z_SHAPE_NAMES[i], TEXT_SECTION, 0) : "?");
            break;
        }
        default:
            n = std::snprintf(out, size_t(capacity), "%f", plain);
            break;
    }
    return n < 0 ? 0 : n < capacity ? n : capacity - 1;
}

// A word that matches the raw text or its translation.
static bool isWord(const char* text, const char* word) {
    return sameNoCase(text, word) || sameNoCase(text, localize(word, TEXT_SECTION, 0));
}

double parseParameterValue(const ParameterRow& row, const char* text) {
    if (!text) return 0.0;
    double number = parseLeadingDouble(text);
    switch (row.format) {
        case PFORMAT_PERCENT:
        case PFORMAT_POSITION:
            return row.max > row.min ? normalisedFromPlain(row, number * 0.01) : 0.0;
        case PFORMAT_GAIN:
            return sameNoCase(text, "-inf") ? 0.0 : normalisedFromPlain(row, std::exp(number * NEPER_PER_DB));
        case PFORMAT_DELAY:
            // A negative time has no square root: it reads as no delay.
            return normalisedFromPlain(row, number * 0.001);
        case PFORMAT_MUTE:
            return isWord(text, "muted") ? 1.0 : 0.0;
        case PFORMAT_SOLO:
            return isWord(text, "soloed") ? 1.0 : 0.0;
        case PFORMAT_ZSHAPE:
            for (int i = 0; i < Z_SHAPE_COUNT; i++)
                if (isWord(text, Z_SHAPE_NAMES[i])) return normalisedFromPlain(row, i);
            return 0.0;
        default:
            return normalisedFromPlain(row, number);
    }
}
