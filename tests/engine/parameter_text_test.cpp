#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "engine/parameter_text.h"

namespace {

// A row of the given format over min..max, scaled as the table scales that format.
ParameterRow row(int format, double min, double max) {
    int scale = format == PFORMAT_MUTE || format == PFORMAT_SOLO ? PSCALE_SWITCH : PSCALE_LINEAR;
    return ParameterRow{POWNER_NONE, 0, "", min, max, scale, format};
}
const ParameterRow& GAIN = *findParameterRow(POWNER_INPUT, PI_GAIN);
const ParameterRow& DELAY = *findParameterRow(POWNER_INPUT, PI_DELAY);
const ParameterRow& ZSHAPE = *findParameterRow(POWNER_GLOBAL, PG_ZSHAPE);

std::string shown(const ParameterRow& r, double p) {
    char text[256];
    formatParameterValue(r, p, text, sizeof text);
    return text;
}
std::string shown(int format, double min, double max, double p) { return shown(row(format, min, max), p); }

}  // namespace

TEST(ParameterTextTest, DisplayTexts) {
    EXPECT_EQ(shown(PFORMAT_POSITION, -1, 1, 0.75), "50") << "p 0.75 on X is 0.5";
    EXPECT_EQ(shown(PFORMAT_POSITION, -1, 1, 0.0), "-100");
    EXPECT_EQ(shown(PFORMAT_POSITION, 0, 1, 1.0), "100") << "Z runs 0 to 100";
    EXPECT_EQ(shown(PFORMAT_PERCENT, 0, 1, 0.3), "30");
    EXPECT_EQ(shown(GAIN, 0.25), "0.0") << "p 0.25 is a gain of 1";
    EXPECT_EQ(shown(GAIN, 0.0), "-inf");
    EXPECT_EQ(shown(GAIN, 1.0), "12.0");
    EXPECT_EQ(shown(GAIN, 0.25 * std::pow(10.0, -143.9 / 20)), "-143.9");
    EXPECT_EQ(shown(GAIN, 0.25 * std::pow(10.0, -144.0 / 20) * 0.999), "-inf");
    EXPECT_EQ(shown(DELAY, 0.5), "10.0") << "p 0.5 is 10 ms";
    EXPECT_EQ(shown(PFORMAT_MUTE, 0, 1, 0.5), "muted");
    EXPECT_EQ(shown(PFORMAT_MUTE, 0, 1, 0.49), "not muted");
    EXPECT_EQ(shown(PFORMAT_SOLO, 0, 1, 1.0), "soloed");
    EXPECT_EQ(shown(ZSHAPE, 1.0 / 6), "dome +");
    EXPECT_EQ(shown(ZSHAPE, 0.08), "none") << "(int) 0.98 is 0";
    EXPECT_EQ(shown(ZSHAPE, 1.2), "?");
    EXPECT_EQ(shown(PFORMAT_NONE, 0, 1, 0.5), "0.500000");

    char small[4];
    EXPECT_EQ(formatParameterValue(row(PFORMAT_MUTE, 0, 1), 0.0, small, sizeof small), 3);
    EXPECT_STREQ(small, "not");
    EXPECT_EQ(formatParameterValue(row(PFORMAT_MUTE, 0, 1), 0.0, small, 0), 0);
    EXPECT_STREQ(parameterUnit(PFORMAT_GAIN), "dB");
    EXPECT_STREQ(parameterUnit(PFORMAT_POSITION), "");
}

TEST(ParameterTextTest, TypedTextsAndTheirDisplaysAgree) {
    EXPECT_NEAR(parseParameterValue(GAIN, "6"), 0.4988, 1e-4);
    EXPECT_EQ(parseParameterValue(GAIN, "-INF"), 0.0);
    EXPECT_DOUBLE_EQ(parseParameterValue(row(PFORMAT_POSITION, -1, 1), "-50"), 0.25);
    EXPECT_DOUBLE_EQ(parseParameterValue(row(PFORMAT_PERCENT, 0, 1), "30"), 0.3);
    EXPECT_DOUBLE_EQ(parseParameterValue(DELAY, "10"), 0.5);
    EXPECT_EQ(parseParameterValue(DELAY, "-5"), 0.0);
    EXPECT_EQ(parseParameterValue(row(PFORMAT_MUTE, 0, 1), "Muted"), 1.0);
    EXPECT_EQ(parseParameterValue(row(PFORMAT_MUTE, 0, 1), "not muted"), 0.0);
    EXPECT_EQ(parseParameterValue(row(PFORMAT_SOLO, 0, 1), "SOLOED"), 1.0);
    EXPECT_DOUBLE_EQ(parseParameterValue(ZSHAPE, "Wedge -"), 4.0 / 6);
    EXPECT_EQ(parseParameterValue(ZSHAPE, "flat"), 0.0);
    EXPECT_EQ(parseParameterValue(row(PFORMAT_POSITION, -1, 1), nullptr), 0.0);
    EXPECT_DOUBLE_EQ(parseParameterValue(row(PFORMAT_PERCENT, 0, 1), "1,5"), 0.01) << "reads as far as it parses";

    // Reading a value's own display text gives a value that displays the same.
    const ParameterRow rows[] = {row(PFORMAT_POSITION, -1, 1), row(PFORMAT_POSITION, 0, 1), row(PFORMAT_PERCENT, 0, 1),
                                 GAIN, DELAY, row(PFORMAT_MUTE, 0, 1), row(PFORMAT_SOLO, 0, 1), ZSHAPE};
    for (const ParameterRow& r : rows)
        for (double p = 0.0; p <= 1.0; p += 1.0 / 64) {
            std::string text = shown(r, p);
            double back = parseParameterValue(r, text.c_str());
            EXPECT_EQ(shown(r, back), text) << "format " << r.format << " p " << p;
        }
}
