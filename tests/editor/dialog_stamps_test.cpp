#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include "editor/dialog_stamps.h"
#include "engine/instance.h"
#include "engine/parameter_map.h"
#include "engine/records.h"
#include "foundation/numbers.h"
#include "layouts/layouts.h"
#include "support/panner_fixture.h"

namespace {

std::vector<int32_t> automateIndexes;  // index of every audioMasterAutomate the host got

intptr_t VST_CALL recordingCallback(AEffect* e, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    if (opcode == audioMasterAutomate) automateIndexes.push_back(index);
    return PannerFixture::callback(e, opcode, index, value, ptr, opt);
}

struct DialogStampsTest : PannerFixture {
    SurroundPanner* p = nullptr;
    void SetUp() override {
        PannerFixture::SetUp();
        hostCallback = recordingCallback;
        automateIndexes.clear();
        countAnswer = 4;
        p = createPanner();
        ASSERT_NE(p, nullptr);
        ASSERT_GE(inputCount(p), 4);
        ASSERT_GE(speakerCount(p), 2);
        for (int32_t& s : p->selectionState) s = -1;
    }
    void TearDown() override {
        if (p) destroyPanner(p);
        PannerFixture::TearDown();
    }
    // Which stamps differ after a change, as a bit per stamp index.
    uint32_t changedBy(const std::function<void()>& change) {
        uint64_t before[STAMP_COUNT];
        for (int s = 0; s < STAMP_COUNT; s++) before[s] = computeStamp(p, s);
        change();
        uint32_t bits = 0;
        for (int s = 0; s < STAMP_COUNT; s++)
            if (computeStamp(p, s) != before[s]) bits |= 1u << s;
        return bits;
    }
    PanInput& in(int i) { return inputRecords(p)[i]; }
    PanSpeaker& sp(int s) { return speakerRecords(p)[s]; }
};

constexpr uint32_t VALUES = 1u << STAMP_VALUES, POSITION = 1u << STAMP_POSITION_ROW,
                   VALUE_ROW = 1u << STAMP_VALUE_ROW, LAYOUT = 1u << STAMP_LAYOUT, NAMES = 1u << STAMP_NAMES,
                   HOST = 1u << STAMP_HOST_STATE;

}  // namespace

TEST_F(DialogStampsTest, FnvIsTheSixtyFourBitFnv1) {
    EXPECT_EQ(fnv64("", 0, FNV_OFFSET_BASIS), FNV_OFFSET_BASIS);
    EXPECT_EQ(fnv64("a", 1, FNV_OFFSET_BASIS), 0xAF63BD4C8601B7BEull);
    EXPECT_EQ(fnv64("foobar", 6, FNV_OFFSET_BASIS), 0x340D8765A4DDA9C2ull);
    // Continuing from a hash is hashing the concatenation.
    EXPECT_EQ(fnv64("bar", 3, fnv64("foo", 3, FNV_OFFSET_BASIS)), fnv64("foobar", 6, FNV_OFFSET_BASIS));
}

TEST_F(DialogStampsTest, EachStampChangesOnWhatItCoversAndNothingElse) {
    p->selectionState[SELECTION_FOCUS] = 1;
    struct Case {
        const char* what;
        std::function<void()> change;
        uint32_t stamps;
    } cases[] = {
        {"gain of an input", [&] { in(2).gain = 0.5; }, VALUES},
        {"delay of an input", [&] { in(0).delay = 0.01; }, VALUES},
        {"mute of an input", [&] { in(0).mute = 1; }, VALUES},
        {"reverse Y of an input", [&] { in(3).reverseY = 1; }, VALUES | HOST},
        {"influence of a speaker", [&] { sp(1).influence = 1.5; }, VALUES},
        {"solo of a speaker", [&] { sp(0).solo = 1; }, VALUES},
        {"Center %", [&] { p->centerPercent = 0.5; }, VALUES},
        {"an edit row's mode", [&] { p->editRowMode[2] = 4; }, VALUES},
        {"the view mode", [&] { p->uiFlags = (p->uiFlags & ~UI_VIEW_MODE_MASK) | 2u << UI_VIEW_MODE_SHIFT; }, VALUES | HOST},
        {"the layout family", [&] { p->layoutFamily = 7; }, HOST},
        {"X of the focused input", [&] { in(1).posX = -0.25; }, POSITION},
        {"Z shape with an input focused", [&] { p->zShape = 3; }, POSITION},
        {"X of another input", [&] { in(2).posX = -0.25; }, 0},
        {"the focus, to a speaker of a built-in layout", [&] { p->selectionState[SELECTION_FOCUS] = SELECT_SPEAKER | 0; }, POSITION},
        {"Z shape with a speaker focused", [&] { p->zShape = 1; }, 0},
        {"the value row's kind", [&] { p->selectionState[SELECTION_VALUE_KIND] = 4; }, VALUE_ROW},
        {"the value row's speaker", [&] { p->selectionState[SELECTION_VALUE_SPEAKER] = 1; }, VALUE_ROW},
        {"the gain the value row shows", [&] { sp(1).gain = 2.0; }, VALUES | VALUE_ROW},
        {"the name of an input", [&] { setRecordName(in(0).name, "Kick"); }, NAMES},
        {"the colour of an input", [&] { in(1).color ^= 0x10; }, NAMES},
        {"the selection", [&] { in(2).selected = 1; }, NAMES | HOST},
        {"the name of a speaker", [&] { setRecordName(sp(0).name, "Front"); }, NAMES},
        {"the first input strip", [&] { p->firstInputStrip = 4; }, VALUES | LAYOUT | NAMES},
        {"the first speaker strip", [&] { p->firstSpeakerStrip = 4; }, VALUES | LAYOUT | NAMES},
    };
    for (const Case& c : cases) EXPECT_EQ(changedBy(c.change), c.stamps) << c.what;

    // Edit all hides the selection from the names stamp; the flag itself is a value.
    EXPECT_EQ(changedBy([&] { p->uiFlags |= FLAG_EDIT_ALL; }), VALUES | NAMES);
    EXPECT_EQ(changedBy([&] { in(0).selected = 1; }), HOST) << "the names stamp ignores the selection under Edit all";

    // A vacant speaker counts as one marker byte, whatever its name.
    sp(1).vacant = 1;
    EXPECT_EQ(changedBy([&] { setRecordName(sp(1).name, "gone"); }), 0u);

    // A speaker's position counts only for a hand-made layout.
    p->selectionState[SELECTION_FOCUS] = SELECT_SPEAKER | 0;
    p->layoutId = 3;
    EXPECT_EQ(changedBy([&] { sp(0).posY = 0.125; }), 0u);
    EXPECT_EQ(changedBy([&] { p->layoutId = 0; }), VALUES | POSITION | HOST);
    EXPECT_EQ(changedBy([&] { sp(0).posY = 0.5; }), POSITION);
    // A focus past the end is no channel.
    p->selectionState[SELECTION_FOCUS] = SELECT_SPEAKER | speakerCount(p);
    EXPECT_EQ(computeStamp(p, STAMP_POSITION_ROW), FNV_OFFSET_BASIS);
}

TEST_F(DialogStampsTest, TickRefreshesWhatChangedAndTellsTheHostOnce) {
    p->selectionState[SELECTION_FOCUS] = 0;
    // Opening the editor zeroes the first nine stamps and keeps the host state's.
    p->editorStamps[STAMP_HOST_STATE] = computeStamp(p, STAMP_HOST_STATE);
    EXPECT_EQ(planTick(p), TICK_POSITION_ROW | TICK_RELAYOUT | TICK_REFRESH_ALL | TICK_REBUILD_LISTS |
                               TICK_VALUE_ROW | TICK_NAMES | TICK_METERS);
    EXPECT_EQ(planTick(p), uint32_t(TICK_METERS)) << "nothing changed";

    // Automation of the focused input's X: the position row and nothing else of the dialog.
    int xIndex = -1;
    for (int i = 0; i < p->effect.numParams && xIndex < 0; i++) {
        ParameterRef r = decodeParameter(p, i);
        if (r.owner == POWNER_INPUT && r.channel == 0 && r.number == PI_X) xIndex = i;
    }
    ASSERT_GE(xIndex, 0);
    p->effect.setParameter(&p->effect, xIndex, 0.2f);
    EXPECT_EQ(planTick(p), uint32_t(TICK_POSITION_ROW | TICK_METERS));

    // A selection change: the names, and one notice to the host with index -1.
    in(1).selected = 1;
    uint32_t plan = planTick(p);
    EXPECT_EQ(plan, uint32_t(TICK_NAMES | TICK_METERS | TICK_HOST_STATE));
    if (plan & TICK_HOST_STATE) notifyHostStateChanged(p);
    EXPECT_EQ(automateIndexes, std::vector<int32_t>{-1});
    EXPECT_EQ(planTick(p), uint32_t(TICK_METERS));

    // A handler that shows its change itself computes the stamp again: the tick stays quiet.
    in(0).gain = 0.25;
    updateStamp(p, STAMP_VALUES);
    EXPECT_EQ(planTick(p), uint32_t(TICK_METERS));

    // With a room bitmap the tick asks the view's stamps.
    p->roomBitmap = reinterpret_cast<MIRQ_IBitmap*>(p);
    EXPECT_EQ(planTick(p), uint32_t(TICK_VIEW_STAMPS | TICK_METERS));
    p->roomBitmap = nullptr;
}

TEST_F(DialogStampsTest, ViewDragsHoldTheTickUntilTheyMove) {
    planTick(p);
    // A speaker drag that rests: nothing, not even the meters.
    p->dragState[2] = 1;
    in(0).gain = 0.5;
    EXPECT_EQ(planTick(p), uint32_t(TICK_SKIPPED));
    EXPECT_EQ(planTick(p), uint32_t(TICK_SKIPPED)) << "the change waits for a move";
    // A move: this tick refreshes, restarts the timer, and the window is updated at once.
    p->selectionState[SELECTION_FOCUS] = SELECT_SPEAKER | 1;
    p->layoutId = 0;
    p->viewBusy = 1;
    sp(1).posX = 0.5;
    uint32_t plan = planTick(p);
    EXPECT_EQ(p->viewBusy, 0);
    EXPECT_TRUE(plan & TICK_RESTART_TIMER);
    EXPECT_TRUE(plan & TICK_REFRESH_ALL);
    EXPECT_TRUE(plan & TICK_POSITION_ROW);
    EXPECT_TRUE(plan & TICK_UPDATE_WINDOW);
    EXPECT_EQ(planTick(p), uint32_t(TICK_SKIPPED));
    // An orbit or a marquee holds the tick as well; idle fields let it run.
    p->dragState[2] = -1;
    p->dragState[4] = 3;
    EXPECT_EQ(planTick(p), uint32_t(TICK_SKIPPED));
    p->dragState[4] = 0;
    p->dragState[3] = 1;
    EXPECT_EQ(planTick(p), uint32_t(TICK_SKIPPED));
    p->dragState[3] = 0;
    EXPECT_EQ(planTick(p), uint32_t(TICK_METERS));
}
