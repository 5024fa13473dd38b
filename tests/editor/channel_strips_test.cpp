// The channel strips without windows: the fader law of every mode both ways, grey rows, group
// moves of the input faders and what the host hears of them, the row buttons with their keys,
// paging, and clicks in the name columns.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "editor/channel_strips.h"
#include "editor/dialog_layout.h"
#include "editor/value_kinds.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "layouts/layouts.h"
#include "roomview/pointer.h"
#include "support/gesture_order.h"
#include "support/panner_fixture.h"

namespace {

// A stand-in for the host's fader curve: a cube from -150 dB, +12 dB at the top, 0 dB at 793.8,
// going on past the top. Its round trip through exp and log misses whole positions by a hair, as
// a real curve does.
double cubeDbToSlider(double dB) {
    double t = (std::max(dB, -150.0) + 150.0) / 162.0;
    return 1000.0 * t * t * t;
}
double cubeSliderToDb(double position) { return 162.0 * std::cbrt(std::max(position, 0.0) / 1000.0) - 150.0; }

constexpr int UNITY = 793;      // 0 dB on the stand-in curve
constexpr int MINUS_SIX = 702;  // -6 dB
constexpr int MODE_GAIN = 0, MODE_LFE = 1, MODE_DIVERGENCE = 2, MODE_DELAY = 3, MODE_INFLUENCE = 1;

struct ChannelStripsTest : PannerFixture {
    std::vector<GestureCall>& calls = GestureCallLog::calls;
    SurroundPanner* p = nullptr;

    void SetUp() override {
        PannerFixture::SetUp();
        GestureCallLog::next = callback;
        hostCallback = GestureCallLog::record;
        hostApi.DB2SLIDER = cubeDbToSlider;
        hostApi.SLIDER2DB = cubeSliderToDb;
        p = make();
        ASSERT_TRUE(p);
        ASSERT_EQ(setSpeakerCount(p, 6), 6);
        setInputs(8);
        setModes(MODE_GAIN, MODE_GAIN);
        for (int32_t& field : p->selectionState) field = -1;
        // Name columns at 100 %: inputs from x 100, 80 wide, speakers from x 300, rows from y 40.
        p->dpiScale = 256;
        p->dialogMetrics[METRIC_INPUT_NAME_WIDTH] = 80;
        p->dialogMetrics[METRIC_SPEAKER_NAME_WIDTH] = 60;
        p->dialogMetrics[METRIC_INPUT_NAME_X] = 100;
        p->dialogMetrics[METRIC_SPEAKER_NAME_X] = 300;
        p->dialogMetrics[METRIC_STRIP_TOP] = 40;
        calls.clear();
    }

    void setInputs(int n) {
        ASSERT_TRUE(setInputCount(p, n));
        ASSERT_EQ(inputCount(p), n);
        for (int i = 0; i < n; i++) in(i).selected = 0;
        p->gainsDirtyInputs[0] = p->gainsDirtyInputs[1] = 0;
    }
    void setModes(int inputMode, int speakerMode) {
        p->uiFlags = (p->uiFlags & ~0xFFu) | uint32_t(inputMode) | uint32_t(speakerMode) << 4;
    }
    PanInput& in(int i) { return inputRecords(p)[i]; }
    PanSpeaker& sp(int s) { return speakerRecords(p)[s]; }
    int inputPosition(int i) { return faderPosition(STRIP_LIST_INPUTS, stripMode(p, STRIP_LIST_INPUTS), in(i).gain); }

    std::vector<int> automated() {
        std::vector<int> out;
        for (const GestureCall& c : calls)
            if (c.opcode == audioMasterAutomate) out.push_back(c.index);
        return out;
    }
    std::vector<int> selection() {
        std::vector<int> out;
        for (int i = 0; i < inputCount(p); i++)
            if (in(i).selected) out.push_back(i);
        return out;
    }
    int rowY(int row) { return 40 + 16 * row + 8; }  // the middle of a row of the name columns
};

int inputIndex(int input, int code) { return 6 + 9 * input + code; }

}  // namespace

TEST_F(ChannelStripsTest, FaderLawOfEveryModeBothWays) {
    struct Case {
        int32_t list, mode;
        double value;
        int32_t position, centre;
    } cases[] = {
        {STRIP_LIST_INPUTS, MODE_GAIN, std::pow(10.0, -6.0 / 20), MINUS_SIX, UNITY},
        {STRIP_LIST_INPUTS, MODE_LFE, 4.0, 1000, UNITY},
        {STRIP_LIST_INPUTS, MODE_DIVERGENCE, 0.25, 250, 0},
        {STRIP_LIST_INPUTS, MODE_DELAY, 0.01, 500, 0},
        {STRIP_LIST_SPEAKERS, MODE_GAIN, 1.0, UNITY, UNITY},
        {STRIP_LIST_SPEAKERS, MODE_INFLUENCE, 1.5, 750, 500},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(faderPosition(c.list, c.mode, c.value), c.position) << c.list << "/" << c.mode;
        EXPECT_NEAR(faderValue(c.list, c.mode, c.position), c.value, 1e-2 * c.value) << c.list << "/" << c.mode;
        EXPECT_EQ(faderCentre(c.list, c.mode), c.centre) << c.list << "/" << c.mode;
    }
    EXPECT_EQ(faderPosition(STRIP_LIST_SPEAKERS, MODE_INFLUENCE, 1.2539), 626) << "positions truncate";
    EXPECT_DOUBLE_EQ(faderValue(STRIP_LIST_SPEAKERS, MODE_INFLUENCE, 1100), 2.2) << "no clamp past the top";
    // Every position comes back from the value it stands for, though the curve's round trip
    // misses whole numbers by a hair.
    for (int list : {STRIP_LIST_INPUTS, STRIP_LIST_SPEAKERS})
        for (int mode = 0; mode < (list == STRIP_LIST_INPUTS ? 4 : 2); mode++)
            for (int position = 1; position <= 1000; position++)
                ASSERT_EQ(faderPosition(list, mode, faderValue(list, mode, position)), position) << list << "/" << mode;
    hostApi.DB2SLIDER = nullptr;
    EXPECT_EQ(faderPosition(STRIP_LIST_INPUTS, MODE_GAIN, 1.0), 0) << "no curve, no position";
}

TEST_F(ChannelStripsTest, LfeChannelAndLfeSpeakerRowsStandGrey) {
    p->channelOptions |= CHANNEL_OPTION_LFE_INPUT;
    in(3).gain = 0.5, in(3).divergence = 0.5;
    StripRowView row = stripRowView(p, STRIP_LIST_INPUTS, 3);
    EXPECT_TRUE(row.greyed);
    EXPECT_EQ(row.position, UNITY) << "shown at 0 dB, not its own gain";
    EXPECT_FALSE(stripRowView(p, STRIP_LIST_INPUTS, 2).greyed);
    setModes(MODE_DIVERGENCE, MODE_INFLUENCE);
    EXPECT_EQ(stripRowView(p, STRIP_LIST_INPUTS, 3).position, 0);
    setModes(MODE_LFE, MODE_INFLUENCE);
    EXPECT_FALSE(stripRowView(p, STRIP_LIST_INPUTS, 3).greyed);

    sp(0).lfe = 1;
    row = stripRowView(p, STRIP_LIST_SPEAKERS, 0);
    EXPECT_TRUE(row.greyed);
    EXPECT_EQ(row.position, 0) << "an LFE speaker has no influence";
    EXPECT_EQ(stripRowView(p, STRIP_LIST_SPEAKERS, 1).position, 500);
    setModes(MODE_LFE, MODE_GAIN);
    EXPECT_FALSE(stripRowView(p, STRIP_LIST_SPEAKERS, 0).greyed);

    in(2).reverseX = 1, in(2).reverseY = 0;
    p->uiFlags |= FLAG_IGNORE_REVERSE;
    row = stripRowView(p, STRIP_LIST_INPUTS, 2);
    EXPECT_EQ(row.skins[2] * 10 + row.skins[3], 32) << "the dimmed pair";
}

TEST_F(ChannelStripsTest, InputFadersMoveTheirGroupByTheSameSteps) {
    // An unselected input moves alone, though three others are selected.
    in(0).selected = in(1).selected = in(2).selected = 1;
    StripFaderMove move = stripFaderMoved(p, STRIP_LIST_INPUTS, 5, UNITY + 40, false);
    EXPECT_EQ(inputPosition(5), UNITY + 40);
    EXPECT_EQ(in(0).gain, 1.0);
    EXPECT_EQ(move.rowsToSet, 0);
    EXPECT_EQ(p->gainsDirtyInputs[0], 1u << 5);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_INPUT], 5);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_INPUT_GAIN);

    // Two selected inputs at -6 dB and 0 dB: as many steps each, another distance in dB.
    in(1).gain = std::pow(10.0, -6.0 / 20);
    in(2).selected = 0;
    move = stripFaderMoved(p, STRIP_LIST_INPUTS, 1, MINUS_SIX - 100, false);
    EXPECT_EQ(inputPosition(0), UNITY - 100);
    EXPECT_GT(20 * std::log10(in(0).gain / in(1).gain), 6.3) << "the curve is not linear in dB";
    EXPECT_EQ(move.rowsToSet, 1u << 0) << "the other member's fader follows";
    EXPECT_EQ(move.positions[0], UNITY - 100);
    double before = in(0).gain;
    stripFaderMoved(p, STRIP_LIST_INPUTS, 1, MINUS_SIX - 100, true);
    EXPECT_EQ(in(0).gain, before) << "a fader let go where it stands moves no one";

    // With "4=LFE" the fourth input joins a group only in LFE mode; no clamp past the top.
    p->channelOptions |= CHANNEL_OPTION_LFE_INPUT;
    p->uiFlags |= FLAG_EDIT_ALL;
    stripFaderMoved(p, STRIP_LIST_INPUTS, 7, UNITY + 300, true);
    EXPECT_EQ(in(3).gain, 1.0);
    EXPECT_GT(in(5).gain, 4.0) << "past the fader's top";
    setModes(MODE_LFE, MODE_GAIN);
    in(0).lfeSend = in(3).lfeSend = 1.0;
    stripFaderMoved(p, STRIP_LIST_INPUTS, 0, UNITY - 100, true);
    EXPECT_EQ(faderPosition(STRIP_LIST_INPUTS, MODE_LFE, in(3).lfeSend), UNITY - 100);

    // Delays reach the delay lines at the next block: no gains to recompute.
    setModes(MODE_DELAY, MODE_GAIN);
    p->gainsDirtyInputs[0] = 0;
    stripFaderMoved(p, STRIP_LIST_INPUTS, 2, 500, true);
    EXPECT_DOUBLE_EQ(in(6).delay, 0.01);
    EXPECT_EQ(p->gainsDirtyInputs[0], 0u);
    EXPECT_FALSE(stripFaderMoved(p, STRIP_LIST_INPUTS, 8, 900, true).acted) << "a row past the channels";
}

TEST_F(ChannelStripsTest, HostHearsFaderMovesInsideGestures) {
    in(2).selected = in(5).selected = 1;
    stripFaderMoved(p, STRIP_LIST_INPUTS, 5, UNITY + 10, false);
    stripFaderMoved(p, STRIP_LIST_INPUTS, 5, UNITY + 20, false);
    stripFaderMoved(p, STRIP_LIST_INPUTS, 5, UNITY + 20, true);
    expectGestureOrder(calls);
    EXPECT_EQ(calls.back().opcode, audioMasterEndEdit) << "the release closes both";
    EXPECT_EQ(automated(), (std::vector<int>{inputIndex(2, 0), inputIndex(5, 0), inputIndex(2, 0), inputIndex(5, 0)}));
    EXPECT_FLOAT_EQ(calls[4].value, float(in(2).gain / 4)) << "the host's value of the last gain";

    // Delays report their own parameter; a speaker moves alone, in every input's gains.
    calls.clear();
    setModes(MODE_DELAY, MODE_INFLUENCE);
    stripFaderMoved(p, STRIP_LIST_INPUTS, 2, 300, false);
    stripFaderMoved(p, STRIP_LIST_SPEAKERS, 1, 750, false);
    EXPECT_DOUBLE_EQ(sp(1).influence, 1.5);
    EXPECT_EQ(p->speakersChanged, 1) << "influence asks for the speakers' analysis, not the host";
    setModes(MODE_DELAY, MODE_GAIN);
    stripFaderMoved(p, STRIP_LIST_SPEAKERS, 4, UNITY - 30, true);
    EXPECT_EQ(sp(3).gain, 1.0);
    EXPECT_EQ(p->gainsDirtyInputs[0], ~0ull);
    expectGestureOrder(calls);
    EXPECT_EQ(automated(), (std::vector<int>{inputIndex(2, 6), inputIndex(5, 6), inputIndex(8, 0) + 3 * 4}));
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_SPEAKER], 4);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_INPUT], -1);
}

TEST_F(ChannelStripsTest, CtrlClearsAColumnAndCtrlAltLeavesOneRowTellingEveryChannel) {
    in(5).mute = 1;
    EXPECT_TRUE(stripButtonClicked(p, STRIP_INPUT_MUTE, 2, POINTER_CTRL | POINTER_ALT));
    std::vector<int> told;
    for (int i = 0; i < 8; i++) {
        EXPECT_EQ(in(i).mute, i == 2) << i;
        told.push_back(inputIndex(i, 7));
    }
    EXPECT_EQ(automated(), told) << "every write is told, changed or not";
    calls.clear();
    EXPECT_TRUE(stripButtonClicked(p, STRIP_INPUT_SOLO, 6, POINTER_SHIFT));
    EXPECT_TRUE(stripButtonClicked(p, STRIP_INPUT_MUTE, 6, POINTER_CTRL));
    EXPECT_EQ(in(6).solo + in(2).mute, 1) << "Shift flips; Ctrl clears the column";
    EXPECT_TRUE(stripButtonClicked(p, STRIP_SPEAKER_SOLO, 3, POINTER_CTRL | POINTER_ALT));
    EXPECT_EQ(automated().size(), 1u + 8u + 6u);
    EXPECT_EQ(automated()[9 + 3], inputIndex(8, 0) + 3 * 3 + 2);
    calls.clear();
    EXPECT_TRUE(stripButtonClicked(p, STRIP_INPUT_REVERSE_X, 4, POINTER_CTRL | POINTER_ALT));
    EXPECT_EQ(in(4).reverseX + in(3).reverseX + in(5).reverseX, 1);
    EXPECT_FALSE(stripButtonClicked(p, STRIP_INPUT_MUTE, 8, 0));
    EXPECT_TRUE(calls.empty()) << "reverse flags reach no host parameter";
}

TEST_F(ChannelStripsTest, PagesOverlapByTwelveAndModesMoveTheValueRow) {
    StripPages pages;
    EXPECT_FALSE(stripPages(16, 0, &pages));
    auto texts = [&] { return std::vector<std::string>(pages.text, pages.text + pages.count); };
    ASSERT_TRUE(stripPages(17, 0, &pages));
    EXPECT_EQ(texts(), (std::vector<std::string>{"1-16", "5-17"}));
    ASSERT_TRUE(stripPages(20, 4, &pages));
    EXPECT_EQ(texts(), (std::vector<std::string>{"1-16", "5-20"}));
    EXPECT_EQ(pages.selected, 1);
    ASSERT_TRUE(stripPages(128, 112, &pages));
    EXPECT_EQ(pages.count, 29);
    EXPECT_STREQ(pages.text[28], "113-128");
    EXPECT_EQ(pages.selected, 28);

    setInputs(20);
    stripPageChosen(p, STRIP_LIST_INPUTS, 1);
    EXPECT_EQ(p->firstInputStrip, 4);
    p->meterPeaks[0] = 0.5;
    EXPECT_NEAR(stripMeterLevel(p, STRIP_LIST_INPUTS, 0), -6.02, 0.01);
    EXPECT_EQ(stripMeterLevel(p, STRIP_LIST_SPEAKERS, 6), -120.0) << "a row without a channel";

    p->selectionState[SELECTION_VALUE_INPUT] = 2;
    stripModeChosen(p, STRIP_LIST_INPUTS, MODE_DELAY);
    stripModeChosen(p, STRIP_LIST_SPEAKERS, MODE_INFLUENCE);
    stripModeChosen(p, STRIP_LIST_SPEAKERS, 2);
    EXPECT_EQ(p->uiFlags & 0xFF, 0x13u);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_INPUT_DELAY) << "the value row shows an input";
}

TEST_F(ChannelStripsTest, ClicksInTheNameColumns) {
    auto shiftClick = [&](std::vector<int> selected, int row) {
        for (int i = 0; i < 8; i++) in(i).selected = 0;
        for (int i : selected) in(i).selected = 1;
        EXPECT_TRUE(stripNameClick(p, 120, rowY(row), POINTER_SHIFT));
        return selection();
    };
    EXPECT_EQ(shiftClick({1, 7}, 5), (std::vector<int>{1, 5, 6, 7})) << "7 is nearer";
    EXPECT_EQ(shiftClick({3, 7}, 5), (std::vector<int>{3, 4, 5, 7})) << "a tie takes the lower range";
    EXPECT_EQ(shiftClick({6}, 2), (std::vector<int>{2, 3, 4, 5, 6}));
    EXPECT_TRUE(stripNameClick(p, 179, rowY(4), POINTER_CTRL));
    EXPECT_EQ(selection(), (std::vector<int>{2, 3, 5, 6}));
    EXPECT_TRUE(stripNameClick(p, 100, rowY(0), 0));
    EXPECT_EQ(selection(), (std::vector<int>{0}));
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_INPUT], 0);
    EXPECT_FALSE(stripNameClick(p, 180, rowY(3), 0));
    EXPECT_FALSE(stripNameClick(p, 120, rowY(8), 0));

    // Double clicks: an input, a speaker of a hand-made layout; not while locked or built in.
    EXPECT_EQ(stripNameEditItem(p, 120, rowY(6)), 6);
    EXPECT_EQ(stripNameEditItem(p, 310, rowY(5)), 8 + 5);
    EXPECT_EQ(stripNameEditItem(p, 310, rowY(6)), -1);
    p->uiFlags |= FLAG_LOCK_INPUTS;
    EXPECT_FALSE(stripNameClick(p, 120, rowY(3), 0));
    EXPECT_EQ(stripNameEditItem(p, 120, rowY(6)), -1);
    applyLayout(p, 5);
    EXPECT_EQ(stripNameEditItem(p, 310, rowY(0)), -1);
}
