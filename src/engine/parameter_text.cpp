#include "engine/parameter_text.h"

#include <cmath>
#include <cstdio>
#include <strings.h>

#include "foundation/localize.h"
#include "foundation/numbers.h"

const char* const Z_SHAPE_NAMES[7] = {
    "none",
    "dome +",
    "dome -",
    "wedge +",
    "wedge -",
    "ceiling +",
    "ceiling -",
};

static const char* const TEXT_SECTION = "kelvanepan";

// 20 / ln 10 and its inverse: dB from a natural logarithm and back.
constexpr double DB_PER_NEPER = 8.685889638065037;
constexpr double NEPER_PER_DB = 0.11512925464970228;
// Gains below 2^-25 show as the floor; at -144 dB or below the text is "-inf".
constexpr double GAIN_FLOOR = 1.0 / 33554432.0;
constexpr double DB_FLOOR = -150.0;
constexpr double DB_SHOWN_AS_INF = -144.0;
constexpr double DELAY_RANGE_SECONDS = 0.04;

const char* parameterUnit(int format) {
    switch (format) {
        case PFORMAT_PERCENT: return "%";
        case PFORMAT_GAIN: return "dB";
        case PFORMAT_DELAY: return "ms";
        default: return "";
    }
}

static bool sameNoCase(const char* a, const char* b) { return strcasecmp(a, b) == 0; }

int formatParameterValue(int format, double min, double max, bool zShape, double p, char* out, int capacity) {
    if (!out || capacity < 1) return 0;
    int n = 0;
    switch (format) {
        case PFORMAT_POSITION:
            n = std::snprintf(out, size_t(capacity), "%.0f", (min + (max - min) * p) * 100.0);
            break;
        case PFORMAT_PERCENT:
            n = std::snprintf(out, size_t(capacity), "%.0f", p * 100.0);
            break;
        case PFORMAT_GAIN: {
            double g = 4.0 * p;
            double db = g < GAIN_FLOOR ? DB_FLOOR : std::fmax(DB_FLOOR, std::log(g) * DB_PER_NEPER);
            n = db <= DB_SHOWN_AS_INF ? std::snprintf(out, size_t(capacity), "-inf")
                                      : std::snprintf(out, size_t(capacity), "%.1f", db);
            break;
        }
        case PFORMAT_DELAY:
            n = std::snprintf(out, size_t(capacity), "%.1f", DELAY_RANGE_SECONDS * p * p * 1000.0);
            break;
        case PFORMAT_MUTE:
            n = std::snprintf(out, size_t(capacity), "%s", localize(p >= 0.5 ? "muted" : "not muted", TEXT_SECTION, 0));
            break;
        case PFORMAT_SOLO:
            n = std::snprintf(out, size_t(capacity), "%s",
                              localize(p >= 0.5 ? "soloed" : "not soloed", TEXT_SECTION, 0));
            break;
        default:
            if (zShape) {
                int i = int(6.0 * p + 0.5);
                n = std::snprintf(out, size_t(capacity), "%s",
                                  i >= 0 && i < Z_SHAPE_COUNT ? localize(Z_SHAPE_NAMES[i], TEXT_SECTION, 0) : "?");
            } else {
                n = std::snprintf(out, size_t(capacity), "%f", p);
            }
            break;
    }
    return n < 0 ? 0 : n < capacity ? n : capacity - 1;
}

// A word that matches the raw text or its translation.
static bool isWord(const char* text, const char* word) {
    return sameNoCase(text, word) || sameNoCase(text, localize(word, TEXT_SECTION, 0));
}

double parseParameterValue(int format, double min, double max, bool zShape, const char* text) {
    if (!text) return 0.0;
    double number = parseLeadingDouble(text);
    switch (format) {
        case PFORMAT_PERCENT:
            return number * 0.01;
        case PFORMAT_GAIN:
            return sameNoCase(text, "-inf") ? 0.0 : std::exp(number * NEPER_PER_DB) * 0.25;
        case PFORMAT_DELAY:
            // A negative time has no square root: it reads as no delay.
            return number > 0.0 ? std::sqrt(number * 0.001 / DELAY_RANGE_SECONDS) : 0.0;
        case PFORMAT_MUTE:
            return isWord(text, "muted") ? 1.0 : 0.0;
        case PFORMAT_SOLO:
            return isWord(text, "soloed") ? 1.0 : 0.0;
        case PFORMAT_POSITION:
            return max > min ? (number * 0.01 - min) / (max - min) : 0.0;
        default:
            if (!zShape) return number;
            for (int i = 0; i < Z_SHAPE_COUNT; i++)
                if (isWord(text, Z_SHAPE_NAMES[i])) return i / 6.0;
            return 0.0;
    }
}
