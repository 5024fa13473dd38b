// The channel strips without windows: the fader law of every mode both ways, what the rows show,
// group moves of the input faders and what the host hears of them, the row buttons with their
// keys, the mode and paging lists, the meters, and clicks in the name columns.
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
#include "shell/entry.h"
#include "support/gesture_order.h"
#include "support/panner_fixture.h"

namespace {

// A stand-in for the host's fader curve: a cube over -150 .. +12 dB, 0 dB at 793.8. Its round
// trip through exp and log misses whole positions by a hair, as a real curve does.
double cubeDbToSlider(double dB) {
    if (!(dB > -150.0)) return 0.0;
    double t = (std::min(dB, 12.0) + 150.0) / 162.0;
    return 1000.0 * t * t * t;
}
double cubeSliderToDb(double position) {
    if (!(position > 0.0)) return -150.0;
    return 162.0 * std::cbrt(std::min(position, 1000.0) / 1000.0) - 150.0;
}

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
    double db(double amp) { return 20.0 * std::log10(amp); }
    int inputPosition(int i) { return faderPosition(STRIP_LIST_INPUTS, stripMode(p, STRIP_LIST_INPUTS), in(i).gain); }

    int count(int32_t opcode) {
        int n = 0;
        for (const GestureCall& c : calls) n += c.opcode == opcode;
        return n;
    }
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
    // The centre of a row of a name column.
    int inputRowY(int row) { return 40 + 16 * row + 8; }
};

int inputIndex(int input, int code) { return 6 + 9 * input + code; }

}  // namespace

TEST_F(ChannelStripsTest, FaderLawOfEveryModeBothWays) {
    struct Case {
        int32_t list, mode;
        double value;
        int32_t position;
        int32_t centre;
    } cases[] = {
        {STRIP_LIST_INPUTS, MODE_GAIN, 1.0, UNITY, UNITY},
        {STRIP_LIST_INPUTS, MODE_GAIN, std::pow(10.0, -6.0 / 20), MINUS_SIX, UNITY},
        {STRIP_LIST_INPUTS, MODE_LFE, 1.0, UNITY, UNITY},
        {STRIP_LIST_INPUTS, MODE_LFE, 4.0, 1000, UNITY},
        {STRIP_LIST_INPUTS, MODE_DIVERGENCE, 0.25, 250, 0},
        {STRIP_LIST_INPUTS, MODE_DELAY, 0.01, 500, 0},
        {STRIP_LIST_INPUTS, MODE_DELAY, 0.04, 1000, 0},
        {STRIP_LIST_SPEAKERS, MODE_GAIN, 1.0, UNITY, UNITY},
        {STRIP_LIST_SPEAKERS, MODE_INFLUENCE, 1.0, 500, 500},
        {STRIP_LIST_SPEAKERS, MODE_INFLUENCE, 2.0, 1000, 500},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.list) + "/" + std::to_string(c.mode) + " at " + std::to_string(c.value));
        EXPECT_EQ(faderPosition(c.list, c.mode, c.value), c.position);
        EXPECT_NEAR(faderValue(c.list, c.mode, c.position), c.value, 1e-2 * c.value);
        EXPECT_EQ(faderCentre(c.list, c.mode), c.centre);
    }
    EXPECT_EQ(faderPosition(STRIP_LIST_INPUTS, MODE_DIVERGENCE, 0.2509), 250) << "positions truncate";
    EXPECT_EQ(faderPosition(STRIP_LIST_SPEAKERS, MODE_INFLUENCE, 1.2539), 626);
    EXPECT_DOUBLE_EQ(faderValue(STRIP_LIST_INPUTS, MODE_DELAY, 250), 0.0025) << "a square law toward the top";
    EXPECT_DOUBLE_EQ(faderValue(STRIP_LIST_SPEAKERS, MODE_INFLUENCE, 1100), 2.2) << "no clamp past the top";

    // Every position comes back from the value it stands for, in all six modes.
    for (int list : {STRIP_LIST_INPUTS, STRIP_LIST_SPEAKERS})
        for (int mode = 0; mode < (list == STRIP_LIST_INPUTS ? 4 : 2); mode++)
            for (int position = 1; position <= 1000; position++)
                ASSERT_EQ(faderPosition(list, mode, faderValue(list, mode, position)), position)
                    << "list " << list << " mode " << mode;

    // Modes a list lacks, and a host without its curve.
    EXPECT_EQ(faderPosition(STRIP_LIST_SPEAKERS, 2, 0.5), 0);
    EXPECT_EQ(faderValue(STRIP_LIST_INPUTS, 7, 500), 0.0);
    hostApi.DB2SLIDER = nullptr;
    hostApi.SLIDER2DB = nullptr;
    EXPECT_EQ(faderPosition(STRIP_LIST_INPUTS, MODE_GAIN, 1.0), 0);
    EXPECT_EQ(faderValue(STRIP_LIST_SPEAKERS, MODE_GAIN, 700), 0.0);
    EXPECT_EQ(faderCentre(STRIP_LIST_INPUTS, MODE_LFE), 0);
}

TEST_F(ChannelStripsTest, RowsShowSkinsPositionsAndGreyRows) {
    setInputs(5);
    in(1).mute = 1;
    in(2).solo = 1;
    in(2).reverseX = 1, in(2).reverseY = 0, in(2).reverseZ = 1;
    in(3).gain = 0.5, in(3).divergence = 0.5, in(3).lfeSend = 1.0;
    p->channelOptions |= CHANNEL_OPTION_LFE_INPUT;

    StripRowView row = stripRowView(p, STRIP_LIST_INPUTS, 2);
    ASSERT_TRUE(row.channel);
    EXPECT_EQ(std::vector<int>(row.skins, row.skins + 5), (std::vector<int>{0, 1, 1, 0, 1}));
    EXPECT_EQ(stripRowView(p, STRIP_LIST_INPUTS, 1).skins[0], 1);
    p->uiFlags |= FLAG_IGNORE_REVERSE;
    row = stripRowView(p, STRIP_LIST_INPUTS, 2);
    EXPECT_EQ(std::vector<int>(row.skins, row.skins + 5), (std::vector<int>{0, 1, 3, 2, 3})) << "the dimmed pair";
    EXPECT_FALSE(stripRowView(p, STRIP_LIST_INPUTS, 5).channel);
    EXPECT_FALSE(stripRowView(p, STRIP_LIST_INPUTS, 16).channel);

    // The LFE channel: grey at 0 dB in Gain, grey at 0 in Divergence, its send in LFE mode.
    setModes(MODE_GAIN, MODE_GAIN);
    row = stripRowView(p, STRIP_LIST_INPUTS, 3);
    EXPECT_TRUE(row.greyed);
    EXPECT_EQ(row.position, UNITY) << "its own gain is not shown";
    EXPECT_FALSE(stripRowView(p, STRIP_LIST_INPUTS, 2).greyed);
    setModes(MODE_DIVERGENCE, MODE_GAIN);
    EXPECT_EQ(stripRowView(p, STRIP_LIST_INPUTS, 3).position, 0);
    EXPECT_EQ(stripRowView(p, STRIP_LIST_INPUTS, 2).position, int(in(2).divergence * 1000));
    setModes(MODE_LFE, MODE_GAIN);
    row = stripRowView(p, STRIP_LIST_INPUTS, 3);
    EXPECT_FALSE(row.greyed);
    EXPECT_EQ(row.position, UNITY);
    p->channelOptions &= ~CHANNEL_OPTION_LFE_INPUT;
    setModes(MODE_GAIN, MODE_GAIN);
    row = stripRowView(p, STRIP_LIST_INPUTS, 3);
    EXPECT_FALSE(row.greyed);
    EXPECT_EQ(row.position, faderPosition(STRIP_LIST_INPUTS, MODE_GAIN, 0.5));

    // Speakers: an LFE speaker is grey at 0 in Influence mode only; a vacant one always.
    sp(0).lfe = 1;
    sp(1).vacant = 1;
    sp(2).influence = 1.5, sp(2).solo = 1;
    row = stripRowView(p, STRIP_LIST_SPEAKERS, 0);
    EXPECT_FALSE(row.greyed);
    EXPECT_EQ(row.position, UNITY);
    EXPECT_TRUE(stripRowView(p, STRIP_LIST_SPEAKERS, 1).greyed);
    setModes(MODE_GAIN, MODE_INFLUENCE);
    row = stripRowView(p, STRIP_LIST_SPEAKERS, 0);
    EXPECT_TRUE(row.greyed);
    EXPECT_EQ(row.position, 0);
    row = stripRowView(p, STRIP_LIST_SPEAKERS, 2);
    EXPECT_FALSE(row.greyed);
    EXPECT_EQ(row.position, 750);
    EXPECT_EQ(row.skins[1], 1);
    EXPECT_FALSE(stripRowView(p, STRIP_LIST_SPEAKERS, 6).channel);

    // A later page: row r shows channel first + r.
    setInputs(20);
    p->firstInputStrip = 4;
    in(9).mute = 1;
    EXPECT_EQ(stripRowView(p, STRIP_LIST_INPUTS, 5).skins[0], 1);
    EXPECT_TRUE(stripRowView(p, STRIP_LIST_INPUTS, 15).channel);
    p->firstInputStrip = 8;
    EXPECT_FALSE(stripRowView(p, STRIP_LIST_INPUTS, 12).channel);
}

TEST_F(ChannelStripsTest, InputFadersMoveTheirGroupByTheSameSteps) {
    setModes(MODE_GAIN, MODE_GAIN);
    for (int i = 0; i < 8; i++) in(i).gain = 1.0;

    // An unselected input moves alone, though three others are selected.
    in(0).selected = in(1).selected = in(2).selected = 1;
    StripFaderMove move = stripFaderMoved(p, STRIP_LIST_INPUTS, 5, UNITY + 40, false);
    EXPECT_TRUE(move.acted);
    EXPECT_EQ(move.rowsToSet, 0);
    EXPECT_EQ(inputPosition(5), UNITY + 40);
    for (int i : {0, 1, 2, 4}) EXPECT_EQ(in(i).gain, 1.0) << i;
    EXPECT_EQ(p->gainsDirtyInputs[0], 1u << 5);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_INPUT], 5);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_SPEAKER], -1);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_INPUT_GAIN);

    // Two selected inputs at -6 dB and 0 dB: the same number of steps, another distance in dB.
    in(1).gain = std::pow(10.0, -6.0 / 20);
    in(2).selected = 0;
    p->gainsDirtyInputs[0] = 0;
    move = stripFaderMoved(p, STRIP_LIST_INPUTS, 1, MINUS_SIX - 100, false);
    EXPECT_EQ(inputPosition(1), MINUS_SIX - 100);
    EXPECT_EQ(inputPosition(0), UNITY - 100);
    EXPECT_GT(db(in(0).gain) - db(in(1).gain), 6.3) << "the curve is not linear in dB";
    EXPECT_EQ(move.rowsToSet, 1u << 0) << "the other member's fader follows, not the one moved";
    EXPECT_EQ(move.positions[0], UNITY - 100);
    EXPECT_EQ(p->gainsDirtyInputs[0], 0x3u);
    // Moving on to where the fader already stands changes nothing more.
    double before = in(0).gain;
    stripFaderMoved(p, STRIP_LIST_INPUTS, 1, MINUS_SIX - 100, true);
    EXPECT_EQ(in(0).gain, before) << "a fader let go where it stands does not creep";

    // No clamp: a member at the top goes past the fader's range.
    setModes(MODE_DIVERGENCE, MODE_GAIN);
    in(0).divergence = 1.0, in(1).divergence = 0.5;
    stripFaderMoved(p, STRIP_LIST_INPUTS, 1, 600, true);
    EXPECT_DOUBLE_EQ(in(0).divergence, 1.1);
    EXPECT_DOUBLE_EQ(in(1).divergence, 0.6);

    // Edit all moves every input, selected or not.
    p->uiFlags |= FLAG_EDIT_ALL;
    stripFaderMoved(p, STRIP_LIST_INPUTS, 7, 100, true);
    for (int i = 0; i < 8; i++) EXPECT_NEAR(in(i).divergence, i < 2 ? (i ? 0.6 : 1.1) + 0.1 : 0.1, 1e-12) << i;

    // A row past the channels does nothing.
    calls.clear();
    EXPECT_FALSE(stripFaderMoved(p, STRIP_LIST_INPUTS, 8, 900, true).acted);
    EXPECT_TRUE(calls.empty());
}

TEST_F(ChannelStripsTest, LfeChannelJoinsGroupsOnlyInLfeModeAndDelayAsksForNoGains) {
    p->channelOptions |= CHANNEL_OPTION_LFE_INPUT;
    for (int i = 0; i < 8; i++) in(i).gain = in(i).lfeSend = 1.0, in(i).selected = 1;
    setModes(MODE_GAIN, MODE_GAIN);
    stripFaderMoved(p, STRIP_LIST_INPUTS, 0, UNITY + 50, true);
    EXPECT_EQ(in(3).gain, 1.0) << "the LFE channel's gain stays";
    EXPECT_EQ(inputPosition(7), UNITY + 50);
    EXPECT_EQ(p->gainsDirtyInputs[0], 0xF7u);
    setModes(MODE_LFE, MODE_GAIN);
    stripFaderMoved(p, STRIP_LIST_INPUTS, 0, UNITY - 50, true);
    EXPECT_EQ(faderPosition(STRIP_LIST_INPUTS, MODE_LFE, in(3).lfeSend), UNITY - 50) << "its send moves";

    // Delay changes go to the delay lines at the next block: no gains to recompute.
    setModes(MODE_DELAY, MODE_GAIN);
    p->gainsDirtyInputs[0] = 0;
    stripFaderMoved(p, STRIP_LIST_INPUTS, 2, 500, true);
    EXPECT_DOUBLE_EQ(in(2).delay, 0.01);
    EXPECT_DOUBLE_EQ(in(6).delay, 0.01);
    EXPECT_EQ(in(3).delay, 0.0);
    EXPECT_EQ(p->gainsDirtyInputs[0], 0u);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_INPUT_DELAY);
}

TEST_F(ChannelStripsTest, HostHearsFaderMovesInsideGestures) {
    setModes(MODE_GAIN, MODE_GAIN);
    in(2).selected = in(5).selected = 1;
    // A drag of input 5's fader: two positions, then the release where it stands.
    stripFaderMoved(p, STRIP_LIST_INPUTS, 5, UNITY + 10, false);
    stripFaderMoved(p, STRIP_LIST_INPUTS, 5, UNITY + 20, false);
    EXPECT_EQ(count(audioMasterEndEdit), 0) << "nothing closes during the drag";
    stripFaderMoved(p, STRIP_LIST_INPUTS, 5, UNITY + 20, true);
    expectGestureOrder(calls);
    EXPECT_EQ(count(audioMasterBeginEdit), 2);
    EXPECT_EQ(count(audioMasterEndEdit), 2);
    EXPECT_EQ(automated(), (std::vector<int>{inputIndex(2, 0), inputIndex(5, 0), inputIndex(2, 0), inputIndex(5, 0)}));
    float lastOfInput2 = -1;
    for (const GestureCall& c : calls)
        if (c.opcode == audioMasterAutomate && c.index == inputIndex(2, 0)) lastOfInput2 = c.value;
    EXPECT_FLOAT_EQ(lastOfInput2, float(in(2).gain / 4)) << "the host's value of the stored gain";

    // Delay and LFE report their own parameters.
    calls.clear();
    setModes(MODE_DELAY, MODE_GAIN);
    stripFaderMoved(p, STRIP_LIST_INPUTS, 2, 300, true);
    setModes(MODE_LFE, MODE_GAIN);
    stripFaderMoved(p, STRIP_LIST_INPUTS, 2, 300, true);
    EXPECT_EQ(automated(), (std::vector<int>{inputIndex(2, 6), inputIndex(5, 6), inputIndex(2, 4), inputIndex(5, 4)}));

    // A speaker moves alone: its gain reaches the host and every input's gains; its influence
    // reaches only the speakers' analysis.
    calls.clear();
    p->gainsDirtyInputs[0] = 0;
    StripFaderMove move = stripFaderMoved(p, STRIP_LIST_SPEAKERS, 4, UNITY - 30, true);
    EXPECT_TRUE(move.acted);
    EXPECT_EQ(faderPosition(STRIP_LIST_SPEAKERS, MODE_GAIN, sp(4).gain), UNITY - 30);
    EXPECT_EQ(sp(3).gain, 1.0);
    EXPECT_EQ(p->gainsDirtyInputs[0], 0xFFFFFFFFFFFFFFFFull);
    expectGestureOrder(calls);
    EXPECT_EQ(automated(), (std::vector<int>{6 + 9 * 8 + 3 * 4}));
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_SPEAKER], 4);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_INPUT], -1);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_SPEAKER_GAIN);

    calls.clear();
    setModes(MODE_GAIN, MODE_INFLUENCE);
    p->speakersChanged = 0;
    stripFaderMoved(p, STRIP_LIST_SPEAKERS, 1, 750, false);
    EXPECT_DOUBLE_EQ(sp(1).influence, 1.5);
    EXPECT_EQ(p->speakersChanged, 1);
    EXPECT_TRUE(calls.empty()) << "influence is no host parameter";
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_SPEAKER_INFLUENCE);
    EXPECT_FALSE(stripFaderMoved(p, STRIP_LIST_SPEAKERS, 6, 750, true).acted);
}

TEST_F(ChannelStripsTest, ButtonsFlipOrWithCtrlClearTheColumnAndWithAltKeepOneRow) {
    in(5).mute = 1;
    EXPECT_TRUE(stripButtonClicked(p, STRIP_INPUT_MUTE, 2, POINTER_CTRL | POINTER_ALT));
    for (int i = 0; i < 8; i++) EXPECT_EQ(in(i).mute, i == 2) << i;
    std::vector<int> expected;
    for (int i = 0; i < 8; i++) expected.push_back(inputIndex(i, 7));
    EXPECT_EQ(automated(), expected) << "every write is told, changed or not";

    calls.clear();
    EXPECT_TRUE(stripButtonClicked(p, STRIP_INPUT_MUTE, 2, POINTER_CTRL));
    for (int i = 0; i < 8; i++) EXPECT_EQ(in(i).mute, 0) << i;
    EXPECT_EQ(automated().size(), 8u);

    calls.clear();
    EXPECT_TRUE(stripButtonClicked(p, STRIP_INPUT_SOLO, 6, 0));
    EXPECT_EQ(in(6).solo, 1);
    EXPECT_TRUE(stripButtonClicked(p, STRIP_INPUT_SOLO, 6, POINTER_SHIFT));
    EXPECT_EQ(in(6).solo, 0) << "Shift is no modifier here";
    EXPECT_EQ(automated(), (std::vector<int>{inputIndex(6, 8), inputIndex(6, 8)}));

    // Reverse flags reach no host parameter.
    calls.clear();
    bool reverseZ = in(4).reverseZ;
    EXPECT_TRUE(stripButtonClicked(p, STRIP_INPUT_REVERSE_Z, 4, 0));
    EXPECT_EQ(in(4).reverseZ, !reverseZ);
    EXPECT_TRUE(stripButtonClicked(p, STRIP_INPUT_REVERSE_X, 4, POINTER_CTRL | POINTER_ALT));
    for (int i = 0; i < 8; i++) EXPECT_EQ(in(i).reverseX, i == 4) << i;
    EXPECT_TRUE(calls.empty());

    // Speakers: solo with Ctrl+Alt, each speaker's solo told.
    EXPECT_TRUE(stripButtonClicked(p, STRIP_SPEAKER_SOLO, 3, POINTER_CTRL | POINTER_ALT));
    for (int s = 0; s < 6; s++) EXPECT_EQ(sp(s).solo, s == 3) << s;
    expected.clear();
    for (int s = 0; s < 6; s++) expected.push_back(6 + 9 * 8 + 3 * s + 2);
    EXPECT_EQ(automated(), expected);
    calls.clear();
    EXPECT_TRUE(stripButtonClicked(p, STRIP_SPEAKER_MUTE, 0, 0));
    EXPECT_EQ(sp(0).mute, 1);
    EXPECT_EQ(automated(), (std::vector<int>{6 + 9 * 8 + 1}));

    // Rows without a channel and controls that are no buttons.
    calls.clear();
    EXPECT_FALSE(stripButtonClicked(p, STRIP_INPUT_MUTE, 8, 0));
    EXPECT_FALSE(stripButtonClicked(p, STRIP_SPEAKER_SOLO, 6, POINTER_CTRL));
    EXPECT_FALSE(stripButtonClicked(p, STRIP_INPUT_FADER, 0, 0));
    EXPECT_TRUE(calls.empty());
}

TEST_F(ChannelStripsTest, ModeListsSetTheModeAndTheValueRowsKind) {
    setModes(MODE_GAIN, MODE_INFLUENCE);
    p->selectionState[SELECTION_VALUE_INPUT] = 2;
    p->selectionState[SELECTION_VALUE_SPEAKER] = -1;
    p->selectionState[SELECTION_VALUE_KIND] = KIND_INPUT_GAIN;
    stripModeChosen(p, STRIP_LIST_INPUTS, MODE_DELAY);
    EXPECT_EQ(stripMode(p, STRIP_LIST_INPUTS), MODE_DELAY);
    EXPECT_EQ(stripMode(p, STRIP_LIST_SPEAKERS), MODE_INFLUENCE) << "the other list keeps its mode";
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_INPUT_DELAY);
    stripModeChosen(p, STRIP_LIST_SPEAKERS, MODE_GAIN);
    EXPECT_EQ(stripMode(p, STRIP_LIST_SPEAKERS), MODE_GAIN);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_INPUT_DELAY) << "the value row shows an input";
    p->selectionState[SELECTION_VALUE_INPUT] = -1;
    p->selectionState[SELECTION_VALUE_SPEAKER] = 0;
    stripModeChosen(p, STRIP_LIST_SPEAKERS, MODE_INFLUENCE);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_SPEAKER_INFLUENCE);
    uint32_t flags = p->uiFlags;
    stripModeChosen(p, STRIP_LIST_INPUTS, -1);
    stripModeChosen(p, STRIP_LIST_INPUTS, 4);
    stripModeChosen(p, STRIP_LIST_SPEAKERS, 2);
    EXPECT_EQ(p->uiFlags, flags) << "positions the lists lack";
}

TEST_F(ChannelStripsTest, PagingListsOverlapByTwelveAndEndAtTheCount) {
    StripPages pages;
    EXPECT_FALSE(stripPages(16, 0, &pages));
    EXPECT_EQ(pages.count, 0);
    auto texts = [&] { return std::vector<std::string>(pages.text, pages.text + pages.count); };
    ASSERT_TRUE(stripPages(17, 0, &pages));
    EXPECT_EQ(texts(), (std::vector<std::string>{"1-16", "5-17"}));
    ASSERT_TRUE(stripPages(20, 4, &pages));
    EXPECT_EQ(texts(), (std::vector<std::string>{"1-16", "5-20"}));
    EXPECT_EQ(pages.selected, 1);
    ASSERT_TRUE(stripPages(128, 112, &pages));
    ASSERT_EQ(pages.count, 29);
    EXPECT_STREQ(pages.text[1], "5-20");
    EXPECT_STREQ(pages.text[28], "113-128");
    EXPECT_EQ(pages.selected, 28);

    setInputs(20);
    stripPageChosen(p, STRIP_LIST_INPUTS, 1);
    EXPECT_EQ(p->firstInputStrip, 4);
    stripPageChosen(p, STRIP_LIST_INPUTS, -1);
    EXPECT_EQ(p->firstInputStrip, 4) << "no entry chosen";
    stripPageChosen(p, STRIP_LIST_SPEAKERS, 2);
    EXPECT_EQ(p->firstSpeakerStrip, 8);
    EXPECT_EQ(p->firstInputStrip, 4);
}

TEST_F(ChannelStripsTest, MetersShowPeaksOfRowsWithAChannel) {
    setInputs(20);
    p->firstInputStrip = 8;
    p->meterPeaks[0] = 0.5;
    p->meterPeaks[11] = 1.0;
    p->meterPeaks[12] = 1.0;  // left over from a row that has no channel now
    p->meterPeaks[16 + 5] = 0.25;
    p->meterPeaks[16 + 6] = 1.0;
    EXPECT_NEAR(stripMeterLevel(p, STRIP_LIST_INPUTS, 0), -6.02, 0.01);
    EXPECT_EQ(stripMeterLevel(p, STRIP_LIST_INPUTS, 11), 0.0);
    EXPECT_EQ(stripMeterLevel(p, STRIP_LIST_INPUTS, 12), -120.0);
    EXPECT_NEAR(stripMeterLevel(p, STRIP_LIST_SPEAKERS, 5), -12.04, 0.01);
    EXPECT_EQ(stripMeterLevel(p, STRIP_LIST_SPEAKERS, 6), -120.0);
    EXPECT_EQ(stripMeterLevel(p, STRIP_LIST_SPEAKERS, 1), -150.0) << "a silent channel";
}

TEST_F(ChannelStripsTest, ClicksInTheInputNamesSelectByShiftCtrlOrAlone) {
    auto shiftClick = [&](std::vector<int> selected, int row) {
        for (int i = 0; i < 8; i++) in(i).selected = 0;
        for (int i : selected) in(i).selected = 1;
        EXPECT_TRUE(stripNameClick(p, 120, inputRowY(row), POINTER_SHIFT));
        return selection();
    };
    EXPECT_EQ(shiftClick({1, 7}, 5), (std::vector<int>{1, 5, 6, 7})) << "7 is nearer";
    EXPECT_EQ(shiftClick({3, 7}, 5), (std::vector<int>{3, 4, 5, 7})) << "a tie takes the lower range";
    EXPECT_EQ(shiftClick({1}, 4), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(shiftClick({6}, 2), (std::vector<int>{2, 3, 4, 5, 6}));
    EXPECT_EQ(shiftClick({}, 2), (std::vector<int>{2}));
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_INPUT], 2);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_SPEAKER], -1);

    EXPECT_TRUE(stripNameClick(p, 100, inputRowY(4), POINTER_CTRL));
    EXPECT_EQ(selection(), (std::vector<int>{2, 4}));
    EXPECT_TRUE(stripNameClick(p, 179, inputRowY(2), POINTER_CTRL));
    EXPECT_EQ(selection(), (std::vector<int>{4}));
    EXPECT_TRUE(stripNameClick(p, 150, 40, 0));
    EXPECT_EQ(selection(), (std::vector<int>{0}));

    // Outside the column, past the last row, or with the inputs locked: nothing.
    EXPECT_FALSE(stripNameClick(p, 180, inputRowY(3), 0));
    EXPECT_FALSE(stripNameClick(p, 99, inputRowY(3), 0));
    EXPECT_FALSE(stripNameClick(p, 120, 40 + 16 * 8, 0));
    EXPECT_FALSE(stripNameClick(p, 320, inputRowY(1), 0)) << "speaker names do not select";
    p->uiFlags |= FLAG_LOCK_INPUTS;
    EXPECT_FALSE(stripNameClick(p, 120, inputRowY(3), 0));
    EXPECT_EQ(selection(), (std::vector<int>{0}));

    // A later page: the row is the page's.
    p->uiFlags &= ~FLAG_LOCK_INPUTS;
    setInputs(20);
    p->firstInputStrip = 4;
    EXPECT_TRUE(stripNameClick(p, 120, inputRowY(15), 0));
    EXPECT_EQ(selection(), (std::vector<int>{19}));
}

TEST_F(ChannelStripsTest, DoubleClicksNameTheItemToRename) {
    EXPECT_EQ(stripNameEditItem(p, 120, inputRowY(6)), 6);
    EXPECT_EQ(stripNameEditItem(p, 120, inputRowY(8)), -1);
    ASSERT_EQ(p->layoutId, 0) << "a hand-made layout";
    EXPECT_EQ(stripNameEditItem(p, 310, inputRowY(5)), 8 + 5);
    EXPECT_EQ(stripNameEditItem(p, 360, inputRowY(5)), -1);
    EXPECT_EQ(stripNameEditItem(p, 310, inputRowY(6)), -1);
    p->uiFlags |= FLAG_LOCK_INPUTS;
    EXPECT_EQ(stripNameEditItem(p, 120, inputRowY(6)), -1);
    EXPECT_EQ(stripNameEditItem(p, 310, inputRowY(0)), 8);
    p->uiFlags &= ~FLAG_LOCK_INPUTS;
    applyLayout(p, 5);
    ASSERT_NE(p->layoutId, 0);
    EXPECT_EQ(stripNameEditItem(p, 310, inputRowY(0)), -1) << "a built-in layout's names stay";
    EXPECT_EQ(stripNameEditItem(p, 120, inputRowY(0)), 0);
}
