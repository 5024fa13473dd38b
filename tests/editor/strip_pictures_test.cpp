#include <gtest/gtest.h>

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

TEST_F(StripPicturesTest, NameRowsAlternateByChannelForBothLists) {
    countAnswer = 3;
    SurroundPanner* p = createPanner();
    p->firstSpeakerStrip = 1;
    MemoryBitmap names(40, 32 * 4);
    drawNameStrips(p, &names, 4);
    EXPECT_EQ(names.pixel(39, 0), 0xFFF0F0F0u) << "input 0";
    EXPECT_EQ(names.pixel(39, 4), 0xFFE0E0E0u) << "input 1";
    EXPECT_EQ(names.pixel(39, 15 * 4), 0xFFE0E0E0u) << "row 15 stands for input 15, even past the count";
    EXPECT_EQ(names.pixel(39, 16 * 4), 0xFFE0E0E0u) << "speaker row 0 is speaker 1";
    EXPECT_EQ(names.pixel(39, 17 * 4), 0xFFF0F0F0u);
    EXPECT_EQ(textColorFor(0xFFF0F0F0), 0xFF000000u);
    EXPECT_EQ(textColorFor(0xFF101060), 0xFFFFFFFFu);
    destroyPanner(p);
}
