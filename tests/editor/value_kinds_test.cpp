#include "editor/value_kinds.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(ValueKinds, StripModesMapOntoKindsOfTheirSide) {
    EXPECT_EQ(kindFromStripMode(true, false, 3), KIND_INPUT_DELAY);
    EXPECT_EQ(kindFromStripMode(false, true, 1), KIND_SPEAKER_INFLUENCE);
    EXPECT_EQ(kindFromStripMode(true, false, 4), -1);
    EXPECT_EQ(kindFromStripMode(false, true, 2), -1);
    EXPECT_EQ(kindFromStripMode(false, false, 0), -1);
    EXPECT_EQ(kindFromStripMode(true, false, -1), -1);
}

TEST(ValueKinds, DecibelsFloorAtMinus150AndInvert) {
    EXPECT_EQ(ampToDb(0.0), -150.0);
    EXPECT_EQ(ampToDb(0x1p-26), -150.0);
    EXPECT_EQ(ampToDb(std::nan("")), -150.0);
    EXPECT_NEAR(ampToDb(0.5), -6.0206, 1e-4);
    EXPECT_NEAR(dbToAmp(-200.0), 1e-10, 1e-20);
    for (double amp : {1e-7, 0.25, 1.0, 3.9}) EXPECT_NEAR(dbToAmp(ampToDb(amp)), amp, amp * 1e-12);
}

TEST(ValueKinds, TypedNumbersNeedADigitAndReadTheDecimalPrefix) {
    double v = 7.0;
    for (const char* none : {"", "abc", "-inf", "inf", "nan", "+", "-.", "  "}) {
        EXPECT_FALSE(parseTypedNumber(none, &v)) << none;
        EXPECT_EQ(v, 7.0);
    }
    EXPECT_FALSE(parseTypedNumber(nullptr, &v));
    struct Case {
        const char* text;
        double value;
    } cases[] = {{"1x", 1.0}, {"+50", 50.0}, {"-200", -200.0}, {" -3.5 dB", -3.5}, {"0x10", 0.0},
                 {"1e2", 100.0}, {"2e", 2.0}, {"x5", 0.0}, {"1.2.3", 1.2}, {"-inf5", 0.0}};
    for (const Case& c : cases) {
        ASSERT_TRUE(parseTypedNumber(c.text, &v)) << c.text;
        EXPECT_EQ(v, c.value) << c.text;
    }
}
