#include <gtest/gtest.h>

#include <vector>

#include "editor/dialog_layout.h"
#include "editor/strip_pictures.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "support/memory_bitmap.h"
#include "support/panner_fixture.h"

namespace {

int liveBitmaps = 0;

struct CountedBitmap final : MemoryBitmap {
    CountedBitmap(int w, int h) : MemoryBitmap(w, h) { liveBitmaps++; }
    ~CountedBitmap() override { liveBitmaps--; }
    void* destroySelf(unsigned flags) override { return mirqDestroySelf(this, flags); }
};

MIRQ_IBitmap* createCounted(int kind, int w, int h) { return kind == 1 ? new CountedBitmap(w, h) : nullptr; }

constexpr uint32_t FACE = 0xFFD4D0C8;

struct StripPicturesTest : PannerFixture {
    void SetUp() override {
        PannerFixture::SetUp();
        hostApi.MIRQ_CreateBitmap = createCounted;  // no fill calls: the pictures fill pixels themselves
        liveBitmaps = 0;
    }
};

uint32_t at(MIRQ_IBitmap* b, int x, int y) { return static_cast<MemoryBitmap*>(b)->pixel(x, y); }

}  // namespace

TEST_F(StripPicturesTest, SkinsHaveThreeFramedFramesInTheirColoursAndAllGoAtClose) {
    countAnswer = 2;
    SurroundPanner* p = createPanner();
    buildStripSkins(p, 12, FACE);
    EXPECT_EQ(liveBitmaps, 16);
    StripControls& s = p->stripControls;
    MIRQ_IBitmap* muteOn = s.mute[1].bitmap;
    ASSERT_NE(muteOn, nullptr);
    EXPECT_EQ(muteOn->width(), 36);
    EXPECT_EQ(muteOn->height(), 12);
    for (int frame = 0; frame < 3; frame++) {
        EXPECT_EQ(at(muteOn, frame * 12 + 1, 1), SKIN_MUTE_COLOUR) << "frame " << frame;
        EXPECT_EQ(at(muteOn, frame * 12, 5), 0xFF000000u) << "left edge of frame " << frame;
        EXPECT_EQ(at(muteOn, frame * 12 + 11, 5), 0xFF000000u) << "right edge of frame " << frame;
    }
    EXPECT_EQ(at(s.solo[0].bitmap, 1, 1), FACE) << "off is the face colour";
    EXPECT_EQ(at(s.solo[1].bitmap, 1, 1), SKIN_SOLO_COLOUR);
    // Dimmed: three quarters of the face over the on colour.
    uint32_t dimmed = at(s.reverseY[3].bitmap, 1, 1);
    EXPECT_NEAR(int(dimmed >> 16 & 0xFF), (0x20 + (0xD4 - 0x20) * 3 / 4), 1);
    EXPECT_NEAR(int(dimmed & 0xFF), (0xFF + (0xC8 - 0xFF) * 3 / 4), 1);
    EXPECT_EQ(at(s.reverseY[1].bitmap, 1, 1), SKIN_REVERSE_COLOUR);
    // A dark on colour gets grey lines.
    MIRQ_IBitmap* dark = makeButtonSkin(0xFF202020, FACE, 10, "D", true, false);
    EXPECT_EQ(at(dark, 0, 0), 0xFF828282u);
    mirqDestroy(dark);

    // Building again replaces the skins; closing frees all of them and zeroes the records.
    buildStripSkins(p, 24, FACE);
    EXPECT_EQ(liveBitmaps, 16);
    EXPECT_EQ(s.mute[0].bitmap->height(), 24);
    freeStripSkins(p);
    EXPECT_EQ(liveBitmaps, 0);
    for (const ButtonSkin& skin : s.reverseZ) EXPECT_EQ(skin.bitmap, nullptr);

    // Without the host's bitmaps there are no skins and nothing fails.
    hostApi.MIRQ_CreateBitmap = nullptr;
    buildStripSkins(p, 12, FACE);
    EXPECT_EQ(s.solo[1].bitmap, nullptr);
    destroyPanner(p);
}

// The fill circle of the host, noted: where the selection dot goes and in which colour.
struct Dot {
    float x, y, r;
    int colour;
};
std::vector<Dot> dots;
void noteCircle(MIRQ_IBitmap*, float x, float y, float r, int colour, float, int, bool) { dots.push_back({x, y, r, colour}); }

TEST_F(StripPicturesTest, NameColumnsShowSwatchColourSelectionAndAlternatingRows) {
    countAnswer = 3;
    SurroundPanner* p = createPanner();
    p->dpiScale = 512;  // swatch 16, row 32
    p->dialogMetrics[METRIC_INPUT_NAME_WIDTH] = 60;
    p->dialogMetrics[METRIC_SPEAKER_NAME_WIDTH] = 50;
    p->firstSpeakerStrip = 1;
    inputRecords(p)[1].color = 0xFF102030;
    inputRecords(p)[1].selected = 1;
    inputRecords(p)[2].selected = 1;
    hostApi.MIRQ_FillCircle = noteCircle;
    dots.clear();
    const int rowH = 32;
    MemoryBitmap names(80, 32 * rowH);
    drawNameStrips(p, &names, rowH);

    // Input rows: the row colour as a swatch, the input's colour to the column's width.
    EXPECT_EQ(names.pixel(15, 1 * rowH + 1), 0xFFE0E0E0u) << "swatch of input 1 (odd)";
    EXPECT_EQ(names.pixel(58, 1 * rowH + 1), 0xFF102030u) << "input 1's own colour";
    EXPECT_EQ(names.pixel(15, 0), 0xFFF0F0F0u) << "swatch of input 0 (even)";
    EXPECT_EQ(names.pixel(79, 3 * rowH), 0xFFE0E0E0u) << "row past the inputs: row colour, whole width";
    EXPECT_EQ(names.pixel(79, 4 * rowH), 0xFFF0F0F0u);
    // One dot per selected input, in the swatch, readable on the row colour.
    ASSERT_EQ(dots.size(), 2u);
    EXPECT_FLOAT_EQ(dots[0].x, 7.0f);
    EXPECT_FLOAT_EQ(dots[0].y, float(rowH + rowH / 2));
    EXPECT_FLOAT_EQ(dots[0].r, 3.0f);
    EXPECT_EQ(uint32_t(dots[0].colour), 0xFF000000u);
    // Edits of all inputs show no selection.
    p->uiFlags |= FLAG_EDIT_ALL;
    dots.clear();
    drawNameStrips(p, &names, rowH);
    EXPECT_TRUE(dots.empty());

    // Speaker rows start at row 16 and alternate by speaker index: row 0 is speaker 1.
    EXPECT_EQ(names.pixel(10, 16 * rowH + 1), 0xFFE0E0E0u);
    EXPECT_EQ(names.pixel(10, 17 * rowH + 1), 0xFFF0F0F0u);
    const int past = speakerCount(p);  // the first speaker index without a channel
    EXPECT_EQ(names.pixel(79, (16 + past - 1) * rowH), past % 2 ? 0xFFE0E0E0u : 0xFFF0F0F0u) << "past the speakers: whole width";
    EXPECT_EQ(names.pixel(49, (16 + past - 2) * rowH + 1), past % 2 ? 0xFFF0F0F0u : 0xFFE0E0E0u) << "the last speaker";
    hostApi.MIRQ_FillCircle = nullptr;
    destroyPanner(p);
}

TEST_F(StripPicturesTest, TextIsWhiteOnDarkAndBlackOnLightByWeightedBytes) {
    EXPECT_EQ(textColorFor(0xFFF0F0F0), 0xFF000000u);
    EXPECT_EQ(textColorFor(0xFF101060), 0xFFFFFFFFu);
    EXPECT_EQ(textColorFor(0xFF3CC814), 0xFFFFFFFFu) << "weight 60000";
    EXPECT_EQ(textColorFor(0xFF3CC815), 0xFF000000u) << "weight 60050";
    EXPECT_EQ(textColorFor(0x00FF0000), 0xFFFFFFFFu) << "red alone weighs 33150";
}
