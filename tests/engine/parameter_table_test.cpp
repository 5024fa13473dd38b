#include <gtest/gtest.h>

#include <cmath>

#include "engine/parameter_table.h"
#include "foundation/host_api.h"

// Every owner's numbers have exactly one row, and each row's two directions undo each other at
// the ends and inside the range.
TEST(ParameterTableTest, EachParameterHasOneRowWhoseDirectionsAgree) {
    const int perOwner[3] = {PARAMS_GLOBAL, PARAMS_PER_INPUT, PARAMS_PER_SPEAKER};
    int rows = 0;
    for (int owner = POWNER_GLOBAL; owner <= POWNER_SPEAKER; owner++)
        for (int number = 0; number < perOwner[owner]; number++) {
            const ParameterRow* row = findParameterRow(owner, number);
            ASSERT_NE(row, nullptr) << owner << "/" << number;
            rows++;
            EXPECT_EQ(plainFromNormalised(*row, 0.0), row->min) << row->name;
            EXPECT_EQ(plainFromNormalised(*row, 1.0), row->max) << row->name;
            for (double v : {0.0, 0.25, 0.5, 1.0}) {
                double back = normalisedFromPlain(*row, plainFromNormalised(*row, v));
                if (row->scale == PSCALE_SWITCH) EXPECT_EQ(back, v >= 0.5 ? 1.0 : 0.0) << row->name;
                else if (row->scale == PSCALE_STEPS) EXPECT_EQ(back, std::floor(v * row->max + 0.5) / row->max) << row->name;
                else EXPECT_DOUBLE_EQ(back, v) << row->name << " at " << v;
            }
        }
    EXPECT_EQ(rows, PARAMETER_ROW_COUNT);
    EXPECT_EQ(findParameterRow(POWNER_INPUT, PARAMS_PER_INPUT), nullptr);
    EXPECT_EQ(findParameterRow(POWNER_NONE, 0), nullptr);

    // The delay is squared: half way is a quarter of the top, and nothing below zero.
    const ParameterRow& delay = *findParameterRow(POWNER_INPUT, PI_DELAY);
    EXPECT_DOUBLE_EQ(plainFromNormalised(delay, 0.5), PARAMETER_DELAY_MAX_SECONDS / 4);
    EXPECT_EQ(normalisedFromPlain(delay, -0.01), 0.0);
}

// The list is globals, then nine per input, then three per speaker, with no gaps or overlaps.
TEST(ParameterTableTest, IndicesCoverTheListInOrder) {
    const int inputs = 3, speakers = 5;
    int expected = 0;
    for (int number = 0; number < PARAMS_GLOBAL; number++) EXPECT_EQ(parameterIndex(POWNER_GLOBAL, -1, number, inputs), expected++);
    for (int i = 0; i < inputs; i++)
        for (int number = 0; number < PARAMS_PER_INPUT; number++)
            EXPECT_EQ(parameterIndex(POWNER_INPUT, i, number, inputs), expected++);
    for (int s = 0; s < speakers; s++)
        for (int number = 0; number < PARAMS_PER_SPEAKER; number++)
            EXPECT_EQ(parameterIndex(POWNER_SPEAKER, s, number, inputs), expected++);
    EXPECT_EQ(parameterCount(inputs, speakers), expected);
}

// A stand-in fader curve: 0 dB at 700, 1 dB per 10 positions.
static double dbToSlider(double db) { return 700.0 + 10.0 * db; }
static double sliderToDb(double position) { return (position - 700.0) / 10.0; }

TEST(ParameterTableTest, GainFadersFollowTheHostsCurve) {
    HostApi saved = hostApi;
    hostApi.DB2SLIDER = nullptr;
    hostApi.SLIDER2DB = nullptr;
    EXPECT_EQ(faderFromGain(1.0), 0) << "no curve, no position";
    EXPECT_EQ(gainFromFader(500), 0.0);
    hostApi.DB2SLIDER = dbToSlider;
    hostApi.SLIDER2DB = sliderToDb;
    EXPECT_EQ(faderFromGain(1.0), 700);
    EXPECT_EQ(faderFromGain(std::pow(10.0, 6.05 / 20)), 760) << "positions truncate";
    EXPECT_EQ(faderFromGain(0.0), 0);
    EXPECT_EQ(faderFromGain(1e9), 1000) << "kept inside the fader";
    EXPECT_NEAR(gainFromFader(500), std::pow(10.0, -20.0 / 20), 1e-12);
    hostApi = saved;
}
