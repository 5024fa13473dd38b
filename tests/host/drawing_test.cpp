// The host's bitmaps, its font objects with real glyphs, and its PNG encoder read back by libpng.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "foundation/bitmap.h"
#include "foundation/font.h"
#include "foundation/host_api.h"
#include "hostservices/drawing.h"
#include "host/png.h"
#include "png_read.h"

namespace {

std::unique_ptr<HostBitmap> makeBitmap(int kind, int w, int h) {
    return std::unique_ptr<HostBitmap>(static_cast<HostBitmap*>(hostCreateBitmap(kind, w, h)));
}

int setScale(MIRQ_IBitmap* b, int id, int value) { return b->extended(id, &value); }

TEST(DrawingTest, KindsSizesAndScales) {
    EXPECT_EQ(hostCreateBitmap(2, 10, 10), nullptr);
    EXPECT_EQ(hostCreateBitmap(0, -1, 10), nullptr);
    EXPECT_EQ(hostCreateBitmap(1, 10, HOST_BITMAP_MAX_SIDE + 1), nullptr);
    for (int kind : {HOST_BITMAP_MEMORY, HOST_BITMAP_SYSTEM}) {
        auto b = makeBitmap(kind, 30, 20);
        ASSERT_TRUE(b);
        EXPECT_EQ(b->width(), 30);
        EXPECT_EQ(b->height(), 20);
        EXPECT_EQ(b->rowSpan(), 30);
        EXPECT_FALSE(b->flipped());
        ASSERT_NE(b->pixels(), nullptr);
        EXPECT_EQ(b->pixels()[30 * 20 - 1], 0u);
#if defined(_WIN32)
        EXPECT_EQ(b->deviceContext() != nullptr, kind == HOST_BITMAP_SYSTEM);
#else
        EXPECT_EQ(b->deviceContext(), nullptr);
#endif
        // A scale stores more pixels than the bitmap reports; text follows it.
        EXPECT_EQ(setScale(b.get(), MIRQ_EXT_SET_SCALE, 512), 1);
        EXPECT_EQ(b->extended(MIRQ_EXT_GET_SCALE, nullptr), 512);
        EXPECT_EQ(b->width(), 30);
        EXPECT_EQ(b->rowSpan(), 60);
        EXPECT_EQ(b->storedHeight, 40);
        b->pixels()[60 * 40 - 1] = 0xFF00FF00u;
        EXPECT_EQ(setScale(b.get(), MIRQ_EXT_SET_SCALE, 512), 1);
        EXPECT_EQ(b->pixels()[60 * 40 - 1], 0xFF00FF00u) << "the same scale again keeps the pixels";
        EXPECT_EQ(setScale(b.get(), MIRQ_EXT_SET_ADVISED_SCALE, 384), 1);
        EXPECT_EQ(b->extended(MIRQ_EXT_GET_ADVISED_SCALE, nullptr), 384);
        EXPECT_EQ(b->extended(MIRQ_EXT_GET_TEXT_SCALE, nullptr), 512);

        // Bad values change nothing.
        EXPECT_EQ(setScale(b.get(), MIRQ_EXT_SET_SCALE, -1), 0);
        EXPECT_EQ(setScale(b.get(), MIRQ_EXT_SET_SCALE, HOST_BITMAP_MAX_SCALE + 1), 0);
        EXPECT_EQ(b->extended(MIRQ_EXT_SET_SCALE, nullptr), 0);
        EXPECT_EQ(b->extended(MIRQ_EXT_GET_SCALE, nullptr), 512);

        // A resize keeps the scale; without one, text takes the advised scale.
        EXPECT_TRUE(b->resize(10, 5));
        EXPECT_EQ(b->rowSpan(), 20);
        EXPECT_FALSE(b->resize(HOST_BITMAP_MAX_SIDE, 5)) << "twice that is too many stored pixels";
        EXPECT_EQ(b->width(), 10);
        EXPECT_EQ(setScale(b.get(), MIRQ_EXT_SET_SCALE, 0), 1);
        EXPECT_EQ(b->rowSpan(), 10);
        EXPECT_EQ(b->extended(MIRQ_EXT_GET_TEXT_SCALE, nullptr), 384);
        EXPECT_EQ(b->extended(0x1234, nullptr), 0);

        EXPECT_TRUE(b->resize(0, 7));
        EXPECT_EQ(b->pixels(), nullptr) << "an empty bitmap has no pixels";
        EXPECT_EQ(b->rowSpan(), 0);
    }
}

FontDescription arial(int height) {
    FontDescription d = {};
    d.height = height;
    d.weight = 400;
    std::strcpy(d.faceName, "Arial");
    return d;
}

// The stored rows and columns that differ from the background, as a box; right and bottom
// one past the last.
TextRect inkBox(HostBitmap* b, uint32_t background) {
    TextRect box = {b->storedWidth, b->storedHeight, 0, 0};
    for (int y = 0; y < b->storedHeight; y++)
        for (int x = 0; x < b->storedWidth; x++) {
            if (b->pixels()[y * b->rowSpan() + x] == background) continue;
            box.left = x < box.left ? x : box.left;
            box.top = y < box.top ? y : box.top;
            box.right = x + 1 > box.right ? x + 1 : box.right;
            box.bottom = y + 1 > box.bottom ? y + 1 : box.bottom;
        }
    return box;
}

int measure(MIRQ_IFont* f, const char* text, int flags = 0) {
    TextRect r = {0, 0, 0, 0};
    f->drawText(nullptr, text, -1, &r, flags | MIRQ_DT_CALCRECT);
    return r.right;
}

TEST(DrawingTest, MeasuresAndDrawsInsideTheRectangle) {
    std::unique_ptr<HostFont> font(static_cast<HostFont*>(hostCreateFont()));
    auto b = makeBitmap(HOST_BITMAP_SYSTEM, 80, 24);
    TextRect r = {10, 2, 40, 20};
    EXPECT_EQ(font->drawText(b.get(), "Hello", -1, &r, 0), 0) << "no font yet: nothing";
    EXPECT_EQ(font->lineHeight(), 0);

    FontDescription twelve = arial(12);
    font->assignHandle(fontCreate(&twelve), MIRQ_FONT_ASSIGN_CACHED);
    EXPECT_EQ(font->lineHeight(), 12);
    TextRect calc = {5, 7, 0, 0};
    EXPECT_EQ(font->drawText(nullptr, "Hello", -1, &calc, MIRQ_DT_CALCRECT), 12);
    EXPECT_EQ(calc.left, 5);
    EXPECT_EQ(calc.bottom, 7 + 12);
    EXPECT_GT(calc.right - calc.left, 20) << "five letters of a 12-pixel face";
    EXPECT_LT(calc.right - calc.left, 40);
    TextRect two = {0, 0, 0, 0};
    EXPECT_EQ(font->drawText(nullptr, "Hello\nthere", -1, &two, MIRQ_DT_CALCRECT), 24);
    EXPECT_EQ(font->drawText(nullptr, "Hello\nthere", 5, &two, MIRQ_DT_CALCRECT), 12) << "count bytes only";
    EXPECT_LT(measure(font.get(), "ab"), measure(font.get(), "a&&b")) << "&& is one '&'";
    EXPECT_EQ(measure(font.get(), "ab"), measure(font.get(), "a&b")) << "a single '&' marks and takes no room";
    EXPECT_LT(measure(font.get(), "ab"), measure(font.get(), "a&b", MIRQ_DT_NOPREFIX));

    // Red text, clipped to the rectangle.
    for (int i = 0; i < 80 * 24; i++) b->pixels()[i] = 0xFF000000u;
    font->setTextColor(int(0xFFFF0000u));
    EXPECT_EQ(font->drawText(b.get(), "Hello, world, and more", -1, &r, 0), 12);
    TextRect ink = inkBox(b.get(), 0xFF000000u);
    EXPECT_GE(ink.left, 10);
    EXPECT_LE(ink.right, 40);
    EXPECT_GE(ink.top, 2);
    EXPECT_LE(ink.bottom, 14);
    int strongest = 0;
    for (int i = 0; i < 80 * 24; i++) {
        uint32_t p = b->pixels()[i];
        EXPECT_EQ(p & 0xFFFFu, 0u) << "only red is added";
        strongest = int((p >> 16) & 0xFF) > strongest ? int((p >> 16) & 0xFF) : strongest;
    }
    EXPECT_GT(strongest, 200);

    // Without the clip the text runs on; an opaque back fills the rectangle first.
    font->drawText(b.get(), "Hello, world, and more", -1, &r, MIRQ_DT_NOCLIP);
    EXPECT_GT(inkBox(b.get(), 0xFF000000u).right, 45);
    EXPECT_EQ(font->setBackMode(MIRQ_BACK_OPAQUE), MIRQ_BACK_TRANSPARENT);
    font->setBackColor(int(0xFF0000FFu));
    TextRect corner = {60, 16, 80, 24};
    font->drawText(b.get(), "", -1, &corner, 0);
    EXPECT_EQ(b->pixels()[23 * 80 + 79], 0xFF0000FFu);
    EXPECT_EQ(b->pixels()[15 * 80 + 79], 0xFF000000u);
}

TEST(DrawingTest, CacheDrawsLabelsAtTheBitmapsScale) {
    HostApi saved = hostApi;
    hostApi.MIRQ_CreateFont = hostCreateFont;
    {
        dpiAwareFont labels(arial(12));
        labels.setTextColor(int(0xFFFFFFFFu));
        auto plain = makeBitmap(HOST_BITMAP_MEMORY, 100, 40);
        auto scaled = makeBitmap(HOST_BITMAP_MEMORY, 100, 40);
        setScale(scaled.get(), MIRQ_EXT_SET_SCALE, 512);
        TextRect r = {0, 0, 100, 40};
        EXPECT_EQ(labels.drawText(plain.get(), "Hxg", -1, &r, 0), 12);
        EXPECT_EQ(labels.drawText(scaled.get(), "Hxg", -1, &r, 0), 12) << "logical pixels";
        TextRect small = inkBox(plain.get(), 0), large = inkBox(scaled.get(), 0);
        int smallHeight = small.bottom - small.top, largeHeight = large.bottom - large.top;
        EXPECT_GE(largeHeight, 2 * smallHeight - 2) << "a 24-pixel face in stored pixels";
        EXPECT_LE(largeHeight, 2 * smallHeight + 2);
        EXPECT_EQ(labels.lineHeight(), 12);
    }
    hostApi = saved;
}

#if !defined(_WIN32)
TEST(DrawingTest, LibpngReadsBackEveryPixel) {
    // A picture of more than 64 KiB of rows takes several stored blocks.
    const int w = 301, h = 97, span = 310;
    std::vector<uint32_t> pixels(size_t(span) * h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < span; x++) pixels[size_t(y) * span + x] = uint32_t(x * 7 + y * 131 + (x * y) % 251) * 2654435761u;
    for (bool flipped : {false, true}) {
        std::vector<unsigned char> png = pngEncode(pixels.data(), w, h, span, flipped);
        RgbPicture picture;
        ASSERT_TRUE(readPng(png, &picture)) << flipped;
        ASSERT_EQ(picture.width, w);
        ASSERT_EQ(picture.height, h);
        for (int y = 0; y < h; y += 3)
            for (int x = 0; x < w; x++) {
                uint32_t p = pixels[size_t(flipped ? h - 1 - y : y) * span + x];
                const uint8_t* rgb = picture.at(x, y);
                ASSERT_EQ(rgb[0], (p >> 16) & 0xFF) << x << "," << y;
                ASSERT_EQ(rgb[1], (p >> 8) & 0xFF);
                ASSERT_EQ(rgb[2], p & 0xFF);
            }
    }
    uint32_t one = 0xFF123456u;
    RgbPicture single;
    ASSERT_TRUE(readPng(pngEncode(&one, 1, 1, 1, false), &single));
    EXPECT_EQ(single.at(0, 0)[1], 0x34);

    EXPECT_TRUE(pngEncode(pixels.data(), 0, 5, span, false).empty());
    EXPECT_TRUE(pngEncode(pixels.data(), 5, 5, 4, false).empty()) << "a span shorter than a row";
    EXPECT_TRUE(pngEncode(nullptr, 5, 5, 5, false).empty());

    // A scaled bitmap gives its stored pixels.
    auto b = makeBitmap(HOST_BITMAP_MEMORY, 10, 6);
    setScale(b.get(), MIRQ_EXT_SET_SCALE, 384);
    RgbPicture stored;
    ASSERT_TRUE(readPng(pngEncodeBitmap(b.get()), &stored));
    EXPECT_EQ(stored.width, 15);
    EXPECT_EQ(stored.height, 9);
    EXPECT_TRUE(pngEncodeBitmap(makeBitmap(HOST_BITMAP_MEMORY, 0, 0).get()).empty());
}
#endif

}  // namespace
