// The selected-channel controls without a window: typed counts, positions, angles, values and
// Center and Side against the records and the host calls they cause, the layout list, the clicks,
// the knobs, the menus and what the controls are to show.
#include "editor/selected_controls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "editor/dialog_stamps.h"
#include "editor/value_kinds.h"
#include "engine/parameter_map.h"
#include "engine/position.h"
#include "engine/records.h"
#include "layouts/layouts.h"
#include "support/gesture_order.h"
#include "support/panner_fixture.h"

namespace {

struct HostCall {
    int32_t opcode, index;
    float value;
};

constexpr int LAYOUT_51 = 5, LAYOUT_71 = 19;

struct SelectedControlsTest : PannerFixture {
    static inline std::vector<HostCall> calls;
    SurroundPanner* p = nullptr;

    static intptr_t VST_CALL recording(AEffect* e, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                       float opt) {
        if (opcode == audioMasterAutomate || opcode == audioMasterBeginEdit || opcode == audioMasterEndEdit)
            calls.push_back({opcode, index, opt});
        return callback(e, opcode, index, value, ptr, opt);
    }
    static void volumeText(char* text, double gain) {
        if (gain > 0.0) std::snprintf(text, 32, "%+.2f dB", 20.0 * std::log10(gain));
        else std::snprintf(text, 32, "-inf dB");
    }

    // An instance with inputs in a built-in layout, every input at its own place, no reverse flags.
    void build(int inputs, int layout) {
        countAnswer = inputs;
        p = make();
        ASSERT_TRUE(p);
        applyLayout(p, layout);
        ASSERT_TRUE(setInputCount(p, inputs));
        for (int i = 0; i < inputs; i++) {
            inputRecords(p)[i].reverseX = 0;
            place(i, -0.8 + 0.3 * i, 0.5, 0.0);
        }
        calls.clear();
    }
    void SetUp() override {
        PannerFixture::SetUp();
        hostCallback = recording;
        calls.clear();
    }
    void place(int i, double x, double y, double z) {
        PanInput& in = inputRecords(p)[i];
        in.posX = x, in.posY = y, in.posZ = z;
        beginEdit(p);
    }
    PanInput& in(int i) { return inputRecords(p)[i]; }
    // The channel parameters sent, in order; the scene values that follow a group are left out.
    std::vector<int32_t> automated() const {
        std::vector<int32_t> out;
        for (const HostCall& c : calls)
            if (c.opcode == audioMasterAutomate && c.index >= 6) out.push_back(c.index);
        return out;
    }
    bool allGainsDirty() const { return (p->gainsDirtyInputs[0] & p->gainsDirtyInputs[1]) == ~uint64_t(0); }
    void clearDirty() { p->gainsDirtyInputs[0] = p->gainsDirtyInputs[1] = 0; }
    void showValue(int input, int speaker, int kind) {
        p->selectionState[SELECTION_VALUE_INPUT] = input;
        p->selectionState[SELECTION_VALUE_SPEAKER] = speaker;
        p->selectionState[SELECTION_VALUE_KIND] = kind;
    }
};

int inputIndex(int i, int code) { return 6 + 9 * i + code; }

}  // namespace

TEST_F(SelectedControlsTest, TypedCountsTakeWholeNumbersFrom1To128AndNoteTheOldCounts) {
    build(2, LAYOUT_51);
    for (const char* bad : {"", "abc", "-inf", "0", "129", "1e999", "-3"}) {
        EXPECT_FALSE(applyInputCountText(p, bad)) << bad;
        EXPECT_FALSE(applySpeakerCountText(p, bad)) << bad;
    }
    EXPECT_FALSE(applyInputCountText(p, "2")) << "the count it has";
    EXPECT_FALSE(applySpeakerCountText(p, "6"));
    EXPECT_FALSE(applyInputCountText(p, nullptr));
    EXPECT_EQ(inputCount(p), 2);
    EXPECT_EQ(speakerCount(p), 6);
    EXPECT_EQ(p->pendingChannelChange, 0u);

    ASSERT_TRUE(applyInputCountText(p, "5x"));
    EXPECT_EQ(inputCount(p), 5);
    EXPECT_EQ(p->pendingChannelChange, 2u | 6u << 8 | PENDING_FORCED);
    EXPECT_EQ(in(4).posX, speakerRecords(p)[5].posX) << "the new inputs stand at their places at once";
    EXPECT_EQ(in(4).posY, speakerRecords(p)[5].posY);

    ASSERT_TRUE(applySpeakerCountText(p, "8.9"));
    EXPECT_EQ(speakerCount(p), 8);
    EXPECT_EQ(p->layoutId, LAYOUT_CUSTOM);
    EXPECT_EQ(p->pendingChannelChange, 5u | 6u << 8 | PENDING_FORCED);
    ASSERT_TRUE(applySpeakerCountText(p, "100"));
    EXPECT_EQ(speakerCount(p), SPEAKER_COUNT_MAX);
}

TEST_F(SelectedControlsTest, LayoutListEntriesNameLayoutsAndCustomKeepsTheSpeakers) {
    build(2, LAYOUT_51);
    EXPECT_EQ(switchStates(p).layoutEntry, 6);
    EXPECT_FALSE(switchStates(p).customLayout);
    chooseLayoutEntry(p, 7);
    EXPECT_EQ(p->layoutId, LAYOUT_71);
    EXPECT_EQ(speakerCount(p), 8);
    EXPECT_EQ(p->pendingChannelChange, 2u | 6u << 8 | PENDING_FORCED);
    chooseLayoutEntry(p, 13);
    EXPECT_EQ(p->layoutId, 8) << "5.1 ITU";

    std::vector<PanSpeaker> before(speakerRecords(p), speakerRecords(p) + speakerCount(p));
    chooseLayoutEntry(p, 0);
    EXPECT_EQ(p->layoutId, LAYOUT_CUSTOM);
    ASSERT_EQ(speakerCount(p), int(before.size()));
    for (size_t s = 0; s < before.size(); s++) {
        EXPECT_EQ(speakerRecords(p)[s].posX, before[s].posX) << s;
        EXPECT_EQ(speakerRecords(p)[s].posY, before[s].posY) << s;
        EXPECT_STREQ(speakerRecords(p)[s].name, before[s].name) << s;
    }
    SwitchStates st = switchStates(p);
    EXPECT_EQ(st.layoutEntry, 0);
    EXPECT_TRUE(st.customLayout) << "enables the speaker count, its \"4=LFE\" and \"Lock\"";

    for (int outside : {-1, 20}) {
        chooseLayoutEntry(p, outside);
        EXPECT_EQ(p->layoutId, LAYOUT_CUSTOM);
    }
}

TEST_F(SelectedControlsTest, TypedGainsReachTheGroupAndTheHostAndBadTextsDoNothing) {
    build(5, LAYOUT_51);
    setLfeChannel(p, true);
    hostApi.mkvolstr = volumeText;
    showValue(0, -1, KIND_INPUT_GAIN);
    for (const char* bad : {"", "-inf", "nan", "dB", "1e999"}) {
        EXPECT_FALSE(applyValueText(p, bad)) << bad;
        EXPECT_EQ(in(0).gain, 1.0) << bad;
    }
    EXPECT_TRUE(calls.empty());

    // "Edit all": the LFE input is a member of the group like any other here.
    p->uiFlags |= FLAG_EDIT_ALL;
    in(2).gain = 0.5;
    ASSERT_TRUE(applyValueText(p, "-6.0206"));
    EXPECT_NEAR(in(0).gain, 0.5, 1e-6);
    EXPECT_NEAR(in(2).gain, 0.25, 1e-6) << "moved by the same number of decibels";
    EXPECT_NEAR(in(3).gain, 0.5, 1e-6);
    EXPECT_EQ(automated(), (std::vector<int32_t>{inputIndex(0, 0), inputIndex(1, 0), inputIndex(2, 0), inputIndex(3, 0),
                                                 inputIndex(4, 0)}));
    EXPECT_NEAR(calls[1].value, 0.5 / 4.0, 1e-6);
    expectGestureOrder(calls);
    EXPECT_EQ(calls.back().opcode, audioMasterEndEdit);

    // The channel itself takes the level typed even below the decibel floor; the others stop there.
    p->uiFlags &= ~FLAG_EDIT_ALL;
    ASSERT_TRUE(applyValueText(p, "-200"));
    EXPECT_NEAR(in(0).gain, 1e-10, 1e-20);
    EXPECT_NEAR(in(1).gain, 0.5, 1e-6) << "not in the group";
    ASSERT_TRUE(applyValueText(p, "+20"));
    EXPECT_EQ(in(0).gain, 4.0) << "+12 dB at most";

    // A selected input takes the other selected ones along; an unselected one goes alone.
    in(0).selected = in(4).selected = 1;
    calls.clear();
    showValue(0, -1, KIND_INPUT_LFE);
    ASSERT_TRUE(applyValueText(p, "0"));
    EXPECT_EQ(in(0).lfeSend, 1.0);
    EXPECT_EQ(in(4).lfeSend, 1.0);
    EXPECT_EQ(in(1).lfeSend, 0.0);
    EXPECT_EQ(automated(), (std::vector<int32_t>{inputIndex(0, 4), inputIndex(4, 4)}));
}

TEST_F(SelectedControlsTest, TypedDivergenceDelayAndSpeakerValuesClampEachInItsOwnRange) {
    build(3, LAYOUT_51);
    p->uiFlags |= FLAG_EDIT_ALL;
    showValue(1, -1, KIND_INPUT_DELAY);
    in(2).delay = 0.08;
    ASSERT_TRUE(applyValueText(p, "60"));
    EXPECT_EQ(in(1).delay, 0.04) << "the channel stops at 40 ms";
    EXPECT_EQ(in(0).delay, 0.04);
    EXPECT_EQ(in(2).delay, 0.1) << "a member that moves along reaches 100 ms";
    EXPECT_EQ(automated(), (std::vector<int32_t>{inputIndex(0, 6), inputIndex(1, 6), inputIndex(2, 6)}));
    EXPECT_EQ(calls[1].value, 1.0f);

    showValue(1, -1, KIND_INPUT_DIVERGENCE);
    in(0).divergence = 0.5;
    ASSERT_TRUE(applyValueText(p, "30"));
    EXPECT_DOUBLE_EQ(in(1).divergence, 0.3);
    EXPECT_DOUBLE_EQ(in(0).divergence, 0.8);
    ASSERT_TRUE(applyValueText(p, "-10"));
    EXPECT_EQ(in(1).divergence, 0.0);

    calls.clear();
    clearDirty();
    showValue(-1, 2, KIND_SPEAKER_GAIN);
    ASSERT_TRUE(applyValueText(p, "-6.0206"));
    EXPECT_NEAR(speakerRecords(p)[2].gain, 0.5, 1e-6);
    EXPECT_TRUE(allGainsDirty());
    EXPECT_EQ(automated(), (std::vector<int32_t>{6 + 9 * 3 + 3 * 2}));
    expectGestureOrder(calls);

    calls.clear();
    p->speakersChanged = 0;
    showValue(-1, 2, KIND_SPEAKER_INFLUENCE);
    ASSERT_TRUE(applyValueText(p, "250"));
    EXPECT_EQ(speakerRecords(p)[2].influence, 2.0);
    EXPECT_EQ(p->speakersChanged, 1);
    EXPECT_TRUE(automated().empty()) << "the influence is no parameter";

    showValue(-1, 2, KIND_INPUT_GAIN);
    EXPECT_FALSE(applyValueText(p, "0")) << "a kind of the other side";
}

TEST_F(SelectedControlsTest, ValueRowCorrectsItsSelectionAndShowsTheKindOfItsSide) {
    build(5, LAYOUT_51);
    hostApi.mkvolstr = volumeText;
    // Nothing chosen: input 0, with the kind of the inputs' strip mode.
    p->uiFlags = (p->uiFlags & ~0xFFu) | 3u | 1u << 4;
    showValue(-1, -1, -1);
    ValueRowTexts row = refreshValueRowState(p);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_INPUT], 0);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_INPUT_DELAY);
    EXPECT_EQ(row.channel, "Channel 1") << "first letter in capital";
    EXPECT_EQ(row.label, "Delay");
    EXPECT_EQ(row.value, "0.0");
    EXPECT_EQ(row.unit, "ms");

    // A speaker with an input's kind takes the speakers' strip mode; a gain shows without "dB".
    showValue(-1, 1, KIND_INPUT_DIVERGENCE);
    row = refreshValueRowState(p);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_SPEAKER_INFLUENCE);
    EXPECT_EQ(row.value, "100");
    EXPECT_EQ(row.unit, "");
    showValue(-1, 1, KIND_SPEAKER_GAIN);
    row = refreshValueRowState(p);
    EXPECT_EQ(row.value, "+0.00");
    EXPECT_EQ(row.unit, "dB");
    EXPECT_EQ(p->uiFlags >> 4 & 0xF, 0u) << "the speakers' strips follow the kind";
    hostApi.mkvolstr = nullptr;
    EXPECT_EQ(refreshValueRowState(p).value, "") << "no volume text without the host's";

    // A speaker past the end goes; the LFE channels show only what they have.
    showValue(-1, 9, KIND_SPEAKER_GAIN);
    refreshValueRowState(p);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_SPEAKER], -1);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_INPUT], 0);
    setLfeChannel(p, true);
    showValue(3, -1, KIND_INPUT_GAIN);
    EXPECT_FALSE(refreshValueRowState(p).valueEnabled);
    showValue(3, -1, KIND_INPUT_LFE);
    EXPECT_TRUE(refreshValueRowState(p).valueEnabled);
    showValue(-1, 3, KIND_SPEAKER_INFLUENCE);
    EXPECT_FALSE(refreshValueRowState(p).valueEnabled) << "speaker 3 of 5.1 is the LFE speaker";

    // No channel at all: the row is empty.
    p->inputs.resize(0);
    showValue(-1, -1, KIND_INPUT_GAIN);
    row = refreshValueRowState(p);
    EXPECT_EQ(row.channel, "");
    EXPECT_EQ(row.label, "");
    EXPECT_EQ(row.value, "");
}

TEST_F(SelectedControlsTest, ValueRowMenusListChannelsAndTheKindsTheyHave) {
    build(5, LAYOUT_51);
    setLfeChannel(p, true);
    showValue(3, -1, KIND_INPUT_LFE);
    std::vector<PopupItem> channels = valueChannelMenu(p);
    ASSERT_EQ(channels.size(), 5u + 1u + 6u);
    EXPECT_EQ(channels[3].command, 103);
    EXPECT_TRUE(channels[3].checked);
    EXPECT_TRUE(channels[5].separator);
    EXPECT_EQ(channels[6].command, 200);
    EXPECT_EQ(channels[6].text, speakerRecords(p)[0].name);

    std::vector<PopupItem> kinds = valueKindMenu(p);
    ASSERT_EQ(kinds.size(), 2u) << "the LFE input has neither gain nor divergence";
    EXPECT_EQ(kinds[0].command, 301);
    EXPECT_TRUE(kinds[0].checked);
    EXPECT_EQ(kinds[1].command, 303);

    chooseValueChannel(p, 203);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_INPUT], -1);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_SPEAKER], 3);
    kinds = valueKindMenu(p);
    ASSERT_EQ(kinds.size(), 1u) << "an LFE speaker has no influence";
    EXPECT_EQ(kinds[0].command, 304);
    chooseValueKind(p, 305);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_SPEAKER_INFLUENCE);
    chooseValueKind(p, 306);
    chooseValueChannel(p, 0);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_KIND], KIND_SPEAKER_INFLUENCE);
    EXPECT_EQ(p->selectionState[SELECTION_VALUE_SPEAKER], 3);

    showValue(-1, -1, KIND_INPUT_GAIN);
    EXPECT_TRUE(valueKindMenu(p).empty()) << "no channel, no menu";
}

TEST_F(SelectedControlsTest, TypedPositionsMoveTheGroupButNeverTheLfeInput) {
    build(5, LAYOUT_51);
    setLfeChannel(p, true);
    p->uiFlags |= FLAG_EDIT_ALL;
    p->selectionState[SELECTION_FOCUS] = 0;
    double before3 = in(3).posX;
    ASSERT_TRUE(applyPositionTexts(p, "-60", "", "abc"));
    EXPECT_DOUBLE_EQ(in(0).posX, -0.6);
    EXPECT_DOUBLE_EQ(in(4).posX, 0.4 + 0.2);
    EXPECT_EQ(in(3).posX, before3) << "the LFE input stays even with \"Edit all\"";
    EXPECT_EQ(in(0).posY, 0.5) << "an empty field is no input";
    expectGestureOrder(calls);
    EXPECT_EQ(calls.back().opcode, audioMasterEndEdit) << "the gestures close after a typed position";

    // "+50" with input 2 at 0.1 and two other inputs selected: all three go right by 0.4.
    p->uiFlags &= ~FLAG_EDIT_ALL;
    place(2, 0.1, 0.5, 0.0);
    place(0, -0.5, 0.5, 0.0);
    place(1, -0.2, 0.5, 0.0);
    in(0).selected = in(1).selected = 1;
    p->selectionState[SELECTION_FOCUS] = 2;
    calls.clear();
    ASSERT_TRUE(applyPositionTexts(p, "+50", "+50.0", "+0.0"));
    EXPECT_DOUBLE_EQ(in(2).posX, 0.5);
    EXPECT_DOUBLE_EQ(in(0).posX, -0.1);
    EXPECT_DOUBLE_EQ(in(1).posX, 0.2);
    EXPECT_DOUBLE_EQ(in(4).posX, 0.6) << "neither focused nor selected";
    EXPECT_EQ(in(2).posY, 0.5) << "the same Y moves nothing";
    EXPECT_EQ(automated(), (std::vector<int32_t>{inputIndex(2, 1), inputIndex(1, 1), inputIndex(0, 1)}));

    // Nothing to show or move: a stale focus, or no digit anywhere.
    EXPECT_FALSE(applyPositionTexts(p, "", "-", "x"));
    p->selectionState[SELECTION_FOCUS] = 7;
    EXPECT_FALSE(applyPositionTexts(p, "10", "10", "10"));
    EXPECT_EQ(positionRowTexts(p).name, "");
    EXPECT_EQ(positionRowTexts(p).field[POS_FIELD_X], "");
}

TEST_F(SelectedControlsTest, TypedSpeakerPositionsNeedAHandMadeArrangementAndStayInTheRoom) {
    build(2, LAYOUT_51);
    p->selectionState[SELECTION_FOCUS] = SELECT_SPEAKER | 1;
    EXPECT_FALSE(applyPositionTexts(p, "10", "10", "10")) << "a built-in layout keeps its speakers";
    EXPECT_EQ(positionRowTexts(p).field[POS_FIELD_X], "");
    chooseLayoutEntry(p, 0);
    p->speakersChanged = 0;
    ASSERT_TRUE(applyPositionTexts(p, "150", "-50", "-20"));
    const PanSpeaker& sp = speakerRecords(p)[1];
    EXPECT_EQ(sp.posX, 1.0);
    EXPECT_EQ(sp.posY, -0.5);
    EXPECT_EQ(sp.posZ, 0.0);
    EXPECT_EQ(p->speakersChanged, 1);
    EXPECT_TRUE(sp.flags & SPK_RIGHT) << "analysed again";
    PositionRowTexts row = positionRowTexts(p);
    EXPECT_EQ(row.field[POS_FIELD_X], "+100.0");
    EXPECT_EQ(row.field[POS_FIELD_Y], "-50.0");
    EXPECT_TRUE(calls.empty()) << "speakers are no parameters";

    // Angles: the speaker turns at its floor distance.
    ASSERT_TRUE(applyAngleTexts(p, "0", "45"));
    EXPECT_NEAR(sp.posX, 0.0, 1e-12);
    EXPECT_NEAR(sp.posY, 1.0, 1e-12) << "clamped into the room";
    EXPECT_NEAR(sp.posZ, 1.0, 1e-12);
}

TEST_F(SelectedControlsTest, TypedAnglesTurnAndTiltTheGroupAroundTheRoomsAxis) {
    build(3, LAYOUT_51);
    p->uiFlags |= FLAG_EDIT_ALL;
    place(0, 0.0, 0.5, 0.0);
    place(1, 0.0, -0.5, 0.25);
    place(2, 0.0, 0.0, 0.0);
    p->selectionState[SELECTION_FOCUS] = 0;
    PositionRowTexts row = positionRowTexts(p);
    EXPECT_EQ(row.field[POS_FIELD_AZIMUTH], "+0.0");
    EXPECT_EQ(row.field[POS_FIELD_ELEVATION], "+0.0");
    EXPECT_FALSE(applyAngleTexts(p, "0", "0")) << "the same angles";
    EXPECT_FALSE(applyAngleTexts(p, "90", ""));
    EXPECT_TRUE(calls.empty());

    ASSERT_TRUE(applyAngleTexts(p, "90", "45"));
    EXPECT_NEAR(in(0).posX, 0.5, 1e-12);
    EXPECT_NEAR(in(0).posY, 0.0, 1e-12);
    EXPECT_NEAR(in(0).posZ, 0.5, 1e-12) << "45 degrees up at a floor distance of 0.5";
    EXPECT_NEAR(in(1).posX, -0.5, 1e-12) << "turned by the same 90 degrees";
    EXPECT_NEAR(in(1).posY, 0.0, 1e-12);
    EXPECT_EQ(in(1).posZ, 1.0) << "tilted past the vertical: the ceiling";
    EXPECT_EQ(in(2).posZ, 0.0) << "an input on the axis keeps its place";
    row = positionRowTexts(p);
    EXPECT_EQ(row.field[POS_FIELD_AZIMUTH], "+90.0");
    EXPECT_EQ(row.field[POS_FIELD_ELEVATION], "+45.0");
    expectGestureOrder(calls);

    ASSERT_TRUE(applyAngleTexts(p, "90", "-10"));
    EXPECT_EQ(in(0).posZ, 0.0) << "below the floor: the floor";

    p->zShape = ZSHAPE_DOME_UP;
    EXPECT_FALSE(positionRowTexts(p).zEnabled);
}

TEST_F(SelectedControlsTest, CenterAndSideFadersTellTheHostAndTypedPercentsDoNot) {
    build(2, LAYOUT_51);
    clearDirty();
    EXPECT_EQ(moveMixFader(p, false, 555, false), "56");
    EXPECT_EQ(p->centerPercent, 0.555);
    EXPECT_TRUE(allGainsDirty());
    EXPECT_EQ(p->editorStamps[STAMP_VALUES], computeStamp(p, STAMP_VALUES)) << "the tick will not write the fader back";
    EXPECT_EQ(moveMixFader(p, true, 1000, true), "100");
    EXPECT_EQ(p->sidePercent, 1.0);
    ASSERT_EQ(calls.size(), 6u);
    EXPECT_EQ(calls[0].opcode, audioMasterBeginEdit);
    EXPECT_EQ(calls[1].value, 0.555f);
    EXPECT_EQ(calls[3].index, 1);
    expectGestureOrder(calls);

    calls.clear();
    clearDirty();
    EXPECT_FALSE(applyCenterSideTexts(p, "", "50"));
    EXPECT_FALSE(applyCenterSideTexts(p, "55.5", "100")) << "both as they are";
    ASSERT_TRUE(applyCenterSideTexts(p, "30", "-5"));
    EXPECT_EQ(p->centerPercent, 0.3);
    EXPECT_EQ(p->sidePercent, 0.0);
    EXPECT_TRUE(allGainsDirty());
    EXPECT_TRUE(calls.empty());

    CenterSideView mix = centerSideView(p);
    EXPECT_EQ(mix.centerPosition, 300);
    EXPECT_EQ(mix.centerText, "30");
    EXPECT_TRUE(mix.centerInForce) << "5.1 has a centre";
    applyLayout(p, LAYOUT_STEREO);
    EXPECT_FALSE(centerSideView(p).centerInForce) << "stereo has none: Center greyed";
}

TEST_F(SelectedControlsTest, ClicksSwitchModesLocksAndTheLfeChannels) {
    build(3, LAYOUT_51);
    EXPECT_FALSE(switchStates(p).lfeInputEnabled) << "three inputs have no fourth";

    // "Edit all" makes every input the scene's group, and the scene values follow at once.
    EXPECT_EQ(p->sceneX, 0.0);
    EXPECT_TRUE(clickSelectedControl(p, IDC_EDIT_ALL));
    EXPECT_TRUE(switchStates(p).editAll);
    EXPECT_NEAR(p->sceneX, 2.0 * 0.8 / 2.6 - 1.0, 1e-12);
    clickSelectedControl(p, IDC_RESPECT_FLIP);
    EXPECT_FALSE(switchStates(p).respectFlip);

    in(1).selected = 1;
    clickSelectedControl(p, IDC_LOCK_INPUTS);
    EXPECT_TRUE(switchStates(p).lockInputs);
    EXPECT_EQ(in(1).selected, 0) << "a lock empties the selection";
    clickSelectedControl(p, IDC_LOCK_INPUTS);
    EXPECT_FALSE(switchStates(p).lockInputs);

    // The speakers' "4=LFE" does nothing while the dialog writes its controls.
    controlsUpdating++;
    clickSelectedControl(p, IDC_LFE_SPEAKER);
    controlsUpdating--;
    EXPECT_TRUE(speakerRecords(p)[3].lfe);
    clickSelectedControl(p, IDC_LFE_SPEAKER);
    EXPECT_FALSE(switchStates(p).lfeSpeaker);

    ASSERT_TRUE(applyInputCountText(p, "4"));
    clickSelectedControl(p, IDC_LFE_INPUT);
    EXPECT_TRUE(switchStates(p).lfeInput);
    EXPECT_EQ(in(3).lfeSend, 1.0);

    // "Reset" puts the inputs back on the speakers.
    place(0, 0.3, -0.3, 0.5);
    EXPECT_TRUE(clickSelectedControl(p, IDC_RESET_INPUTS));
    EXPECT_EQ(in(0).posX, speakerRecords(p)[0].posX);
    EXPECT_EQ(in(0).posY, speakerRecords(p)[0].posY);
    EXPECT_FALSE(clickSelectedControl(p, IDC_FOCUS_CHANNEL)) << "a menu button, not a click of this kind";
}

TEST_F(SelectedControlsTest, EditRowsListTheModesThenThePanningSpeakersAndMoveByTheirMode) {
    build(2, LAYOUT_51);
    std::vector<std::string> entries = editRowEntries(p);
    ASSERT_EQ(entries.size(), 7u + 5u) << "the LFE speaker is no target";
    EXPECT_EQ(entries[0], "Left/Right");
    EXPECT_EQ(entries[7], std::string("To ") + speakerRecords(p)[0].name);
    EXPECT_EQ(entries[10], std::string("To ") + speakerRecords(p)[4].name);
    p->editRowMode[0] = 12;
    p->editRowMode[1] = 11;
    p->editRowMode[2] = -1;
    correctEditRowModes(p, int(entries.size()));
    EXPECT_EQ(p->editRowMode[0], 0);
    EXPECT_EQ(p->editRowMode[1], 11);
    EXPECT_EQ(p->editRowMode[2], 2);

    // Knobs: a quarter of the room per half turn, a quarter of that with Ctrl, four times with Shift.
    chooseEditRowEntry(p, 1, EDIT_LEFT_RIGHT);
    place(0, 0.0, 0.0, 0.0);
    place(1, 0.0, 0.0, 0.0);
    turnEditRowKnob(p, 1, 0x8000 + 0x4000, false, false);
    EXPECT_EQ(in(0).posX, 0.125);
    turnEditRowKnob(p, 1, 0x8000 - 0x4000, true, true);
    EXPECT_EQ(in(0).posX, 0.125 - 0.03125);
    turnEditRowKnob(p, 1, 0x8000 + 0x1000, false, true);
    EXPECT_EQ(in(1).posX, 0.09375 + 0.125);
    turnEditRowKnob(p, 1, 0x8000, false, false);
    EXPECT_EQ(in(1).posX, 0.21875) << "0x8000 is no movement";

    clickSelectedControl(p, IDC_EDIT_ROW_REFLECT_1 + 1);
    EXPECT_EQ(in(0).posX, -0.21875);
    clickSelectedControl(p, IDC_EDIT_ROW_RESET_1 + 1);
    EXPECT_EQ(in(0).posX, 0.0);
}

TEST_F(SelectedControlsTest, FocusMenuListsSpeakersOnlyWhenHandMadeAndKeepsCommandsApart) {
    build(3, LAYOUT_51);
    p->selectionState[SELECTION_FOCUS] = 1;
    std::vector<PopupItem> menu = focusMenu(p);
    ASSERT_EQ(menu.size(), 3u);
    EXPECT_TRUE(menu[1].checked);
    EXPECT_EQ(menu[2].command, 102);
    p->viewRedrawFlags = 0;
    chooseFocus(p, 0);
    EXPECT_EQ(p->selectionState[SELECTION_FOCUS], 1) << "no choice";
    EXPECT_EQ(p->viewRedrawFlags, 3u) << "the view draws again all the same";
    chooseFocus(p, 201);
    EXPECT_EQ(p->selectionState[SELECTION_FOCUS], 1) << "no speakers in a built-in layout";

    chooseLayoutEntry(p, 0);
    chooseFocus(p, 202);
    EXPECT_EQ(p->selectionState[SELECTION_FOCUS], SELECT_SPEAKER | 2);
    menu = focusMenu(p);
    ASSERT_EQ(menu.size(), 3u + 1u + 6u);
    EXPECT_TRUE(menu[3].separator);
    EXPECT_TRUE(menu[6].checked);
    EXPECT_EQ(positionRowTexts(p).name, buttonName(speakerRecords(p)[2].name));

    // More than a hundred inputs: the speakers' commands follow the inputs'.
    ASSERT_TRUE(setInputCount(p, 120));
    menu = focusMenu(p);
    EXPECT_EQ(menu[119].command, 219);
    EXPECT_EQ(menu[121].command, 220);
    chooseFocus(p, 219);
    EXPECT_EQ(p->selectionState[SELECTION_FOCUS], 119);
    chooseFocus(p, 220);
    EXPECT_EQ(p->selectionState[SELECTION_FOCUS], SELECT_SPEAKER | 0);
}
