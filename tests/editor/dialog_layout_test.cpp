#include <gtest/gtest.h>

#include "editor/dialog_layout.h"

namespace {

// Group boxes as the dialog reads them back at 100 %, and the same boxes at twice the size.
constexpr PixelRect INPUTS_100{10, 430, 331, 263};
constexpr PixelRect SPEAKERS_100{345, 430, 288, 263};
PixelRect doubled(PixelRect r) { return PixelRect{2 * r.x, 2 * r.y, 2 * r.w, 2 * r.h}; }

void expectRect(PixelRect got, PixelRect want, const char* what) {
    EXPECT_EQ(got.x, want.x) << what;
    EXPECT_EQ(got.y, want.y) << what;
    EXPECT_EQ(got.w, want.w) << what;
    EXPECT_EQ(got.h, want.h) << what;
}

}  // namespace

TEST(DialogLayoutTest, StripRowsAtBothScales) {
    int32_t m[METRIC_COUNT];
    PixelRect rows[STRIP_FAMILY_COUNT][STRIP_ROWS];

    stripGeometry(256, INPUTS_100, SPEAKERS_100, m, rows);
    EXPECT_EQ(m[METRIC_STRIP_TOP], 450);
    EXPECT_EQ(m[METRIC_INPUT_NAME_WIDTH], 331 - 12 - 94 - 56 - 96);
    EXPECT_EQ(m[METRIC_SPEAKER_NAME_WIDTH], 288 - 12 - 94 - 56 - 48);
    EXPECT_EQ(m[METRIC_INPUT_NAME_X], 158);
    EXPECT_EQ(m[METRIC_SPEAKER_NAME_X], 445);
    expectRect(rows[STRIP_INPUT_MUTE][0], {18, 452, 12, 12}, "input mute");
    expectRect(rows[STRIP_INPUT_SOLO][0], {34, 452, 12, 12}, "input solo");
    expectRect(rows[STRIP_INPUT_METER][0], {50, 454, 56, 6}, "input meter");
    expectRect(rows[STRIP_INPUT_REVERSE_X][0], {110, 452, 12, 12}, "reverse X");
    expectRect(rows[STRIP_INPUT_REVERSE_Z][0], {142, 452, 12, 12}, "reverse Z");
    expectRect(rows[STRIP_INPUT_FADER][3], {158 + 73 + 4, 450 + 48, 94, 16}, "input fader, row 3");
    expectRect(rows[STRIP_SPEAKER_MUTE][15], {353, 452 + 15 * 16, 12, 12}, "speaker mute, row 15");
    expectRect(rows[STRIP_SPEAKER_METER][1], {385, 470, 56, 6}, "speaker meter, row 1");
    expectRect(rows[STRIP_SPEAKER_FADER][0], {445 + 78 + 4, 450, 94, 16}, "speaker fader");
    // The fader ends one button short of the group's right edge on both sides.
    EXPECT_EQ(rows[STRIP_INPUT_FADER][0].x + 94, INPUTS_100.x + INPUTS_100.w - 12);
    EXPECT_EQ(rows[STRIP_SPEAKER_FADER][0].x + 94, SPEAKERS_100.x + SPEAKERS_100.w - 12);

    // At 200 % buttons are 24 pixels wide and a row 32 high; everything else doubles too.
    int32_t m2[METRIC_COUNT];
    PixelRect rows2[STRIP_FAMILY_COUNT][STRIP_ROWS];
    stripGeometry(512, doubled(INPUTS_100), doubled(SPEAKERS_100), m2, rows2);
    for (int i = 0; i < METRIC_COUNT; i++) EXPECT_EQ(m2[i], 2 * m[i]) << "metric " << i;
    for (int f = 0; f < STRIP_FAMILY_COUNT; f++)
        for (int r = 0; r < STRIP_ROWS; r++) {
            EXPECT_EQ(rows2[f][r].x, 2 * rows[f][r].x) << f << "/" << r;
            EXPECT_EQ(rows2[f][r].y, 2 * rows[f][r].y) << f << "/" << r;
            EXPECT_EQ(rows2[f][r].w, 2 * rows[f][r].w) << f << "/" << r;
        }
    EXPECT_EQ(rows2[STRIP_INPUT_SOLO][0].w, 24);
    EXPECT_EQ(rows2[STRIP_INPUT_FADER][1].y - rows2[STRIP_INPUT_FADER][0].y, 32);

    // 150 % truncates each size on its own: 6 * 1.5 = 9, 94 * 1.5 = 141, 20 * 1.5 = 30.
    stripGeometry(384, INPUTS_100, SPEAKERS_100, m, rows);
    EXPECT_EQ(m[METRIC_STRIP_TOP], 460);
    EXPECT_EQ(rows[STRIP_INPUT_METER][0].h, 9);
    EXPECT_EQ(rows[STRIP_SPEAKER_FADER][0].w, 141);
    EXPECT_EQ(m[METRIC_INPUT_NAME_WIDTH], 331 - 18 - 141 - 84 - 6 * 24);
}

TEST(DialogLayoutTest, CountsChooseRowsPagingAndHeights) {
    struct Case {
        int inputs, firstInput, speakers, firstSpeaker;
        uint16_t inputRows, speakerRows;
        bool inputPaging, speakerPaging;
        int visIn, visSp;
    } cases[] = {
        {2, 0, 6, 0, 0x3, 0x3F, false, false, 2, 6},
        {8, 0, 12, 0, 0xFF, 0xFFF, false, false, 8, 12},
        {16, 0, 16, 0, 0xFFFF, 0xFFFF, false, false, 16, 16},
        {20, 0, 16, 0, 0xFFFF, 0xFFFF, true, false, 16, 16},
        {20, 16, 17, 16, 0xF, 0x1, true, true, 4, 1},
        {20, 24, 2, 4, 0, 0, true, false, 0, 0},  // a first strip past the end shows nothing
        {128, 112, 128, 124, 0xFFFF, 0xF, true, true, 16, 4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.inputs << " inputs from " << c.firstInput << ", " << c.speakers
                                        << " speakers from " << c.firstSpeaker);
        StripPlan plan = planStrips(256, c.inputs, c.firstInput, c.speakers, c.firstSpeaker);
        EXPECT_EQ(plan.inputRows, c.inputRows);
        EXPECT_EQ(plan.speakerRows, c.speakerRows);
        EXPECT_EQ(bool(plan.inputPaging), c.inputPaging);
        EXPECT_EQ(bool(plan.speakerPaging), c.speakerPaging);
        EXPECT_EQ(plan.visibleInputs, c.visIn);
        EXPECT_EQ(plan.visibleSpeakers, c.visSp);
        EXPECT_EQ(plan.inputGroupHeight, c.visIn * 16 + 32);
        EXPECT_EQ(plan.speakerGroupHeight, c.visSp * 16 + 32);
        StripPlan big = planStrips(512, c.inputs, c.firstInput, c.speakers, c.firstSpeaker);
        EXPECT_EQ(big.inputGroupHeight, 2 * plan.inputGroupHeight);
    }

    // The client holds the lower of the two boxes, a padding and the line under it.
    EXPECT_EQ(clientHeightFor(600, 520, 256), 600 + 4 + 28);
    EXPECT_EQ(clientHeightFor(520, 600, 512), 600 + 8 + 56);
    EXPECT_EQ(footerShift(600, 690, 256), 600 + 8 - 690);

    int32_t m[METRIC_COUNT] = {73, 78, 158, 445, 450};
    PixelRect in = inputNameColumn(m, 512, 5), sp = speakerNameColumn(m, 256, 16);
    expectRect(in, {158, 450, 73, 160}, "input names");
    expectRect(sp, {445, 450, 78, 256}, "speaker names");
}
