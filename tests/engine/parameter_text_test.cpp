#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "engine/parameter_text.h"

namespace {

std::string shown(int format, double min, double max, double p, bool zShape = false) {
    char text[256];
    formatParameterValue(format, min, max, zShape, p, text, sizeof text);
    return text;
}

}  // namespace

TEST(ParameterTextTest, DisplayTexts) {
    EXPECT_EQ(shown(PFORMAT_POSITION, -1, 1, 0.75), "50") << "p 0.75 on X is 0.5";
    EXPECT_EQ(shown(PFORMAT_POSITION, -1, 1, 0.0), "-100");
    EXPECT_EQ(shown(PFORMAT_POSITION, 0, 1, 1.0), "100") << "Z runs 0 to 100";
    EXPECT_EQ(shown(PFORMAT_PERCENT, 0, 1, 0.3), "30");
    EXPECT_EQ(shown(PFORMAT_GAIN, 0, 1, 0.25), "0.0") << "p 0.25 is a gain of 1";
    EXPECT_EQ(shown(PFORMAT_GAIN, 0, 1, 0.0), "-inf");
    EXPECT_EQ(shown(PFORMAT_GAIN, 0, 1, 1.0), "12.0");
    EXPECT_EQ(shown(PFORMAT_GAIN, 0, 1, 0.25 * std::pow(10.0, -143.9 / 20)), "-143.9");
    EXPECT_EQ(shown(PFORMAT_GAIN, 0, 1, 0.25 * std::pow(10.0, -144.0 / 20) * 0.999), "-inf");
    EXPECT_EQ(shown(PFORMAT_DELAY, 0, 1, 0.5), "10.0") << "p 0.5 is 10 ms";
    EXPECT_EQ(shown(PFORMAT_MUTE, 0, 1, 0.5), "muted");
    EXPECT_EQ(shown(PFORMAT_MUTE, 0, 1, 0.49), "not muted");
    EXPECT_EQ(shown(PFORMAT_SOLO, 0, 1, 1.0), "soloed");
    EXPECT_EQ(shown(PFORMAT_NONE, 0, 1, 1.0 / 6, true), "dome +");
    EXPECT_EQ(shown(PFORMAT_NONE, 0, 1, 0.08, true), "none") << "(int) 0.98 is 0";
    EXPECT_EQ(shown(PFORMAT_NONE, 0, 1, 1.2, true), "?");
    EXPECT_EQ(shown(PFORMAT_NONE, 0, 1, 0.5, false), "0.500000");

    char small[4];
    EXPECT_EQ(formatParameterValue(PFORMAT_MUTE, 0, 1, false, 0.0, small, sizeof small), 3);
    EXPECT_STREQ(small, "not");
    EXPECT_EQ(formatParameterValue(PFORMAT_MUTE, 0, 1, false, 0.0, small, 0), 0);
    EXPECT_STREQ(parameterUnit(PFORMAT_GAIN), "dB");
    EXPECT_STREQ(parameterUnit(PFORMAT_POSITION), "");
}

TEST(ParameterTextTest, TypedTextsAndTheirDisplaysAgree) {
    EXPECT_NEAR(parseParameterValue(PFORMAT_GAIN, 0, 1, false, "6"), 0.4988, 1e-4);
    EXPECT_EQ(parseParameterValue(PFORMAT_GAIN, 0, 1, false, "-INF"), 0.0);
    EXPECT_DOUBLE_EQ(parseParameterValue(PFORMAT_POSITION, -1, 1, false, "-50"), 0.25);
    EXPECT_DOUBLE_EQ(parseParameterValue(PFORMAT_PERCENT, 0, 1, false, "30"), 0.3);
    EXPECT_DOUBLE_EQ(parseParameterValue(PFORMAT_DELAY, 0, 1, false, "10"), 0.5);
    EXPECT_EQ(parseParameterValue(PFORMAT_DELAY, 0, 1, false, "-5"), 0.0);
    EXPECT_EQ(parseParameterValue(PFORMAT_MUTE, 0, 1, false, "Muted"), 1.0);
    EXPECT_EQ(parseParameterValue(PFORMAT_MUTE, 0, 1, false, "not muted"), 0.0);
    EXPECT_EQ(parseParameterValue(PFORMAT_SOLO, 0, 1, false, "SOLOED"), 1.0);
    EXPECT_DOUBLE_EQ(parseParameterValue(PFORMAT_NONE, 0, 1, true, "Wedge -"), 4.0 / 6);
    EXPECT_EQ(parseParameterValue(PFORMAT_NONE, 0, 1, true, "flat"), 0.0);
    EXPECT_EQ(parseParameterValue(PFORMAT_POSITION, -1, 1, false, nullptr), 0.0);
    EXPECT_DOUBLE_EQ(parseParameterValue(PFORMAT_PERCENT, 0, 1, false, "1,5"), 0.01) << "reads as far as it parses";

    // Reading a value's own display text gives a value that displays the same.
    struct Row {
        int format;
        double min, max;
        bool zShape;
    };
    const Row rows[] = {{PFORMAT_POSITION, -1, 1, false}, {PFORMAT_POSITION, 0, 1, false}, {PFORMAT_PERCENT, 0, 1, false},
                        {PFORMAT_GAIN, 0, 1, false},      {PFORMAT_DELAY, 0, 1, false},    {PFORMAT_MUTE, 0, 1, false},
                        {PFORMAT_SOLO, 0, 1, false},      {PFORMAT_NONE, 0, 1, true}};
    for (const Row& r : rows)
        for (double p = 0.0; p <= 1.0; p += 1.0 / 64) {
            std::string text = shown(r.format, r.min, r.max, p, r.zShape);
            double back = parseParameterValue(r.format, r.min, r.max, r.zShape, text.c_str());
            EXPECT_EQ(shown(r.format, r.min, r.max, back, r.zShape), text) << "format " << r.format << " p " << p;
        }
}
