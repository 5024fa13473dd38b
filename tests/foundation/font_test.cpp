#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "foundation/bitmap.h"
#include "foundation/font.h"
#include "foundation/host_api.h"
#include "shell/entry.h"
#include "shell/panner.h"
#include "support/memory_bitmap.h"
#include "support/panner_fixture.h"

namespace {

// A host font object that writes every call into one log, reads the height back from the
// system font it is given, and frees that font as a host's object does.
struct FontLog {
    std::vector<std::string> lines;
    int created = 0;
    int destroyed = 0;
    bool refuse = false;  // the factory makes nothing
};
FontLog* fontLog = nullptr;

struct LoggingFont final : MIRQ_IFont {
    int id;
    void* handle = nullptr;
    int height = 0;
    explicit LoggingFont(int n) : id(n) {}
    void* destroySelf(unsigned flags) override { return mirqDestroySelf(this, flags); }
    ~LoggingFont() {
        fontDestroy(handle);
        fontLog->destroyed++;
    }
    void say(const std::string& line) { fontLog->lines.push_back("font" + std::to_string(id) + " " + line); }
    void assignHandle(void* font, int flags) override {
        fontDestroy(handle);
        handle = font;
        FontDescription d = {};
        EXPECT_TRUE(fontDescribe(font, &d));
        height = d.height;
        char text[64];
        std::snprintf(text, sizeof text, "assign %d/%d 0x%X", d.height, d.width, unsigned(flags));
        say(text);
    }
    int setTextColor(int c) override { return say("text " + std::to_string(c)), 0; }
    int setBackColor(int c) override { return say("back " + std::to_string(c)), 0; }
    int setExtraColor(int c) override { return say("extra " + std::to_string(c)), 0; }
    int setBackMode(int m) override { return say("mode " + std::to_string(m)), 0; }
    void setCombine(int m, float a) override { say("combine " + std::to_string(m) + " " + std::to_string(a)); }
    int drawText(MIRQ_IBitmap*, const char* text, int count, TextRect* rect, int flags) override {
        char tail[32];
        std::snprintf(tail, sizeof tail, " %d 0x%X", rect->left, unsigned(flags));
        say("draw " + std::string(text, size_t(count)) + tail);
        return 100 + id;
    }
    int textColor() override { return 0; }
    void* nativeHandle() override { return handle; }
    int lineHeight() override { return height + 1; }
    void setTextOption(int v) override { say("option " + std::to_string(v)); }
    MIRQ_IFont* createFontObject() override { return nullptr; }
};

MIRQ_IFont* makeLoggingFont() {
    if (fontLog->refuse) return nullptr;
    return new LoggingFont(++fontLog->created);
}

// A bitmap that answers the text-scale query with whatever the test sets.
struct TextScaleBitmap : MemoryBitmap {
    int textScale = 0;
    TextScaleBitmap() : MemoryBitmap(8, 8) {}
    int extended(int id, void* data) override {
        return id == MIRQ_EXT_GET_TEXT_SCALE ? textScale : MemoryBitmap::extended(id, data);
    }
};

FontDescription description(int height, int width) {
    FontDescription d = {};
    d.height = height;
    d.width = width;
    d.weight = 400;
    return d;
}

struct FontTest : PannerFixture {
    FontLog log;
    TextScaleBitmap bitmap;
    void SetUp() override {
        PannerFixture::SetUp();
        fontLog = &log;
        hostApi.MIRQ_CreateFont = makeLoggingFont;
    }
    void TearDown() override {
        releaseLabelFont();
        fontLog = nullptr;
        PannerFixture::TearDown();
    }
    // Draws "x" at a text scale and gives the lines this logged.
    std::vector<std::string> drawAt(MIRQ_IFont* font, int scale, int flags = 0) {
        bitmap.textScale = scale;
        log.lines.clear();
        TextRect r = {1, 2, 3, 4};
        font->drawText(&bitmap, "x", 1, &r, flags);
        return log.lines;
    }
    std::vector<int> pairHeights(dpiAwareFont& f) {
        std::vector<int> heights;
        for (int i = 0; i < growCount<FontSizePair>(f.sizes); i++) heights.push_back(growItems<FontSizePair>(f.sizes)[i].height);
        return heights;
    }
};

using Lines = std::vector<std::string>;

TEST_F(FontTest, ScalesShareOrGetTheirOwnSystemFont) {
    dpiAwareFont font(description(12, 0));
    EXPECT_EQ(drawAt(&font, 256)[0], "font1 assign 12/0 0x200");
    EXPECT_EQ(drawAt(&font, 0).back(), "font1 draw x 1 0x0") << "scale 0 and 256 share the pair of height 12";
    EXPECT_EQ(drawAt(&font, 0).size(), 7u) << "six state calls and the drawing, no new font";
    log.lines.clear();
    TextRect r = {5, 0, 0, 0};
    EXPECT_EQ(font.drawText(nullptr, "x", 1, &r, MIRQ_DT_CALCRECT), 101) << "a null bitmap counts as no scale";
    EXPECT_EQ(log.lines, Lines{"font1 draw x 5 0x400"});

    EXPECT_EQ(drawAt(&font, 512)[0], "font2 assign 24/0 0x600");
    EXPECT_EQ(font.lineHeight(), 13) << "the line height is always that of 100 %";
    EXPECT_EQ(log.created, 2);
    EXPECT_EQ(pairHeights(font), (std::vector<int>{0, 0, 24, 12}));

    // Sizes follow the description, truncated toward zero, width too.
    dpiAwareFont negative(description(-13, 5));
    EXPECT_EQ(drawAt(&negative, 384)[0], "font3 assign -19/7 0x600");
    EXPECT_EQ(drawAt(&negative, 100)[0], "font4 assign -5/1 0x600");
}

TEST_F(FontTest, FiveScalesInTurnRecycleTheOldestPair) {
    dpiAwareFont font(description(12, 0));
    for (int scale : {256, 384, 512, 640}) drawAt(&font, scale);
    EXPECT_EQ(log.created, 4);
    EXPECT_EQ(pairHeights(font), (std::vector<int>{12, 18, 24, 30}));

    // The fifth takes the object of the pair unused the longest, with a new system font.
    EXPECT_EQ(drawAt(&font, 768)[0], "font1 assign 36/0 0x600");
    EXPECT_EQ(log.created, 4);
    EXPECT_EQ(log.destroyed, 0);
    EXPECT_EQ(pairHeights(font), (std::vector<int>{18, 24, 30, 36}));

    // The four most recent hit without a new font; a hit moves its pair to the end.
    for (int scale : {384, 512, 640, 768}) EXPECT_EQ(drawAt(&font, scale).size(), 7u) << scale;
    drawAt(&font, 384);
    EXPECT_EQ(pairHeights(font), (std::vector<int>{24, 30, 36, 18}));
    EXPECT_EQ(drawAt(&font, 256)[0], "font3 assign 12/0 0x200") << "the 512 pair, now the oldest, gives way";
}

TEST_F(FontTest, StateGoesToTheObjectInOrderButNotForAMeasurement) {
    dpiAwareFont font(description(12, 0));
    EXPECT_EQ(font.setTextColor(int(0xFF112233)), 0);
    EXPECT_EQ(font.setTextColor(int(0xFF445566)), int(0xFF112233));
    EXPECT_EQ(font.textColor(), int(0xFF445566));
    EXPECT_EQ(font.setBackColor(7), 0);
    EXPECT_EQ(font.setExtraColor(8), 0);
    EXPECT_EQ(font.setBackMode(2), MIRQ_BACK_TRANSPARENT);
    font.setCombine(3, 0.5f);
    font.setTextOption(9);
    EXPECT_EQ(font.nativeHandle(), nullptr);

    EXPECT_EQ(drawAt(&font, 256, MIRQ_DT_CENTER),
              (Lines{"font1 assign 12/0 0x200", "font1 text " + std::to_string(int(0xFF445566)), "font1 back 7",
                     "font1 extra 8", "font1 mode 2", "font1 combine 3 0.500000", "font1 option 9",
                     "font1 draw x 1 0x1"}));
    EXPECT_EQ(drawAt(&font, 256, MIRQ_DT_CALCRECT | MIRQ_DT_SINGLELINE), (Lines{"font1 draw x 1 0x420"}))
        << "a measurement passes no colour";

    TextRect r = {1, 2, 3, 4};
    EXPECT_EQ(font.drawText(&bitmap, "xyz", 2, &r, 0), 101) << "the object's answer comes back";
    EXPECT_EQ(log.lines.back(), "font1 draw xy 1 0x0") << "count and rect are handed on unchanged";
}

TEST_F(FontTest, WithoutHostFontsNothingIsDrawn) {
    dpiAwareFont font(description(12, 0));
    log.refuse = true;
    TextRect r = {0, 0, 10, 10};
    EXPECT_EQ(font.drawText(&bitmap, "x", 1, &r, 0), 0);
    EXPECT_EQ(font.lineHeight(), 10);
    hostApi.MIRQ_CreateFont = nullptr;
    EXPECT_EQ(font.drawText(&bitmap, "x", 1, &r, 0), 0);
    EXPECT_EQ(font.lineHeight(), 10);
    EXPECT_TRUE(log.lines.empty());

    // The host comes back: the same pairs fill.
    log.refuse = false;
    hostApi.MIRQ_CreateFont = makeLoggingFont;
    EXPECT_EQ(font.lineHeight(), 13);
    EXPECT_EQ(log.created, 1);
}

int flagsAnswer = 0;
int answerFlags(int) { return flagsAnswer; }

TEST_F(FontTest, OtherFlagsForgetTheHeightsButKeepTheObjects) {
    dpiAwareFont font(description(12, 0));
    font.flagsCallback = answerFlags;
    flagsAnswer = 4;  // bit 2 does not count
    drawAt(&font, 256);
    drawAt(&font, 512);
    EXPECT_EQ(pairHeights(font), (std::vector<int>{0, 0, 12, 24}));
    flagsAnswer = 1 | 4;
    EXPECT_EQ(drawAt(&font, 512)[0], "font2 assign 24/0 0x601");
    EXPECT_EQ(drawAt(&font, 256)[0], "font1 assign 12/0 0x201") << "the zeroed pairs are taken again";
    EXPECT_EQ(log.created, 2);
}

TEST_F(FontTest, LabelFontIsSharedAndGoesWithTheLastInstance) {
    SurroundPanner* a = make();
    SurroundPanner* b = make();
    MIRQ_IFont* font = labelFont();
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(labelFont(), font);
    EXPECT_EQ(drawAt(font, 256)[0], "font1 assign 12/0 0x200");
    auto* cache = static_cast<dpiAwareFont*>(font);
    EXPECT_EQ(cache->logFont.weight, 400);
    EXPECT_STREQ(cache->logFont.faceName, "Arial");
    EXPECT_EQ(cache->setBackMode(MIRQ_BACK_TRANSPARENT), MIRQ_BACK_TRANSPARENT);

    destroy(a);
    EXPECT_EQ(log.destroyed, 0);
    destroy(b);
    EXPECT_EQ(log.destroyed, 1) << "the last instance takes the host font objects with it";

    SurroundPanner* c = make();
    EXPECT_EQ(drawAt(labelFont(), 256)[0], "font2 assign 12/0 0x200") << "a later instance gets a new font";
    destroy(c);
    EXPECT_EQ(log.destroyed, 2);
}

}  // namespace
