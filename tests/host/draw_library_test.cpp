// The host's drawing library: every function at the bitmap's edges and through clipping views,
// on both bitmap kinds, bottom-up rows with a wide span, and at scale 256 and 512.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "foundation/bitmap.h"
#include "hostservices/draw_library.h"
#include "hostservices/drawing.h"
#include "host/host.h"
#include "support/memory_bitmap.h"

namespace {

constexpr uint32_t RED = 0xFFFF0000u, WHITE = 0xFFFFFFFFu;

// Stored pixels that are not 0.
int inked(MemoryBitmap& b) {
    int n = 0;
    for (int y = 0; y < b.storedHeight(); y++)
        for (int x = 0; x < b.storedWidth(); x++) n += b.pixel(x, y) != 0;
    return n;
}

// The pixels beyond each row (span) must stay untouched.
void expectSpanUntouched(MemoryBitmap& b) {
    for (int y = 0; y < b.storedHeight(); y++)
        for (int x = b.storedWidth(); x < b.span; x++) ASSERT_EQ(b.pixel(x, y), 0u) << x << "," << y;
}

TEST(DrawLibraryTest, EveryFunctionIsOfferedByName) {
    RefHost* host = refHostCreate();
    ASSERT_TRUE(host);
    for (const char* name : {"MIRQ_Clear", "MIRQ_FillRect", "MIRQ_DrawRect", "MIRQ_LineInt", "MIRQ_Line", "MIRQ_ThickFLine",
                             "MIRQ_Circle", "MIRQ_FillCircle", "MIRQ_FillTriangle", "MIRQ_FillConvexPolygon", "MIRQ_Blit",
                             "MIRQ_RotatedBlit", "MIRQ_DrawGlyph", "MIRQ_GetPixel", "MIRQ_RGB2HSV", "MIRQ_HSV2RGB"})
        EXPECT_TRUE(host->services.count(name)) << name;
    refHostDestroy(host);
}

TEST(DrawLibraryTest, RectanglesClipAtEveryEdgeAndScale) {
    for (int scale : {0, 256, 512}) {
        int k = scale == 512 ? 2 : 1;
        MemoryBitmap b(10, 8, scale, true, 3);
        mirqFillRect(&b, -5, -5, 8, 7, int(RED), 1.0f, 0);  // covers 0..2 by 0..1
        EXPECT_EQ(inked(b), 3 * 2 * k * k) << scale;
        EXPECT_EQ(b.pixel(0, 0), RED);
        EXPECT_EQ(b.pixel(3 * k - 1, 2 * k - 1), RED);
        mirqFillRect(&b, 8, 6, 100, 100, int(RED), 1.0f, 0);  // the lower right corner, 2 by 2
        EXPECT_EQ(inked(b), (6 + 4) * k * k);
        EXPECT_EQ(b.pixel(10 * k - 1, 8 * k - 1), RED) << "bottom-up rows: the last row of the picture";
        mirqFillRect(&b, 10, 0, 5, 5, int(RED), 1.0f, 0);  // wholly outside
        mirqFillRect(&b, 2, 2, 0, 5, int(RED), 1.0f, 0);   // empty
        EXPECT_EQ(inked(b), 10 * k * k);
        expectSpanUntouched(b);

        // A frame is its outermost pixels, each drawn once even at half opacity.
        MemoryBitmap f(10, 8, scale);
        mirqDrawRect(&f, 1, 1, 5, 4, int(WHITE), 0.5f, 0);
        EXPECT_EQ(inked(f), (5 * 2 + 2 * 2) * k * k);
        EXPECT_EQ(f.pixel(k, k), f.pixel(5 * k, 4 * k)) << "corners blended once, like the sides";
        EXPECT_EQ(f.pixel(3 * k, 2 * k), 0u) << "the inside stays";
        mirqDrawRect(&f, -1, -1, 12, 10, int(WHITE), 1.0f, 0);  // a frame just outside the bitmap
        EXPECT_EQ(inked(f), 14 * k * k);
    }
}

TEST(DrawLibraryTest, BlendingModes) {
    MemoryBitmap b(4, 1);
    b.fill(0xFF204060u);
    mirqFillRect(&b, 0, 0, 1, 1, int(0x00FF0000u), 0.5f, 0);  // the colour's alpha byte does not weigh
    mirqFillRect(&b, 1, 0, 1, 1, int(0xFF102030u), 1.0f, MIRQ_MODE_ADD);
    mirqFillRect(&b, 2, 0, 1, 1, int(0xFFF0F0F0u), 1.0f, MIRQ_MODE_ADD);
    mirqFillRect(&b, 3, 0, 1, 1, int(RED), 0.0f, 0);
    EXPECT_EQ(b.pixel(0, 0), 0xFF8F2030u);
    EXPECT_EQ(b.pixel(1, 0), 0xFF306090u);
    EXPECT_EQ(b.pixel(2, 0), 0xFFFFFFFFu) << "additive saturates";
    EXPECT_EQ(b.pixel(3, 0), 0xFF204060u) << "opacity 0 draws nothing";
}

TEST(DrawLibraryTest, LinesAtEdgesAndScales) {
    for (int scale : {0, 256, 512}) {
        int k = scale == 512 ? 2 : 1;
        MemoryBitmap b(20, 10, scale, false, 1);
        mirqLineInt(&b, 0, 5, 19, 5, int(RED), 1.0f, 0, false);  // ends included
        EXPECT_EQ(inked(b), 20 * k * k) << scale;
        EXPECT_EQ(b.pixel(0, 5 * k), RED);
        EXPECT_EQ(b.pixel(20 * k - 1, 5 * k + k - 1), RED);

        // A diagonal far beyond the bitmap keeps to the pixels that it crosses inside.
        MemoryBitmap d(20, 10, scale, true, 2);
        mirqLineInt(&d, -1000, -1000, 1000, 1000, int(RED), 1.0f, 0, false);
        EXPECT_EQ(inked(d), k == 1 ? 10 : 39) << "one step a column, k rows deep";
        EXPECT_EQ(d.pixel(9 * k, 9 * k), RED);
        expectSpanUntouched(d);
        mirqLine(&d, 1e30f, 0.0f, -1e30f, 5.0f, int(RED), 1.0f, 0, true);
        mirqLine(&d, NAN, 0.0f, 3.0f, 5.0f, int(RED), 1.0f, 0, true);
        expectSpanUntouched(d);
    }
    // Anti-aliased, a line between two rows gives each half its colour; on a row, all of it.
    MemoryBitmap a(10, 10);
    mirqLine(&a, 2.0f, 4.5f, 7.0f, 4.5f, int(WHITE), 1.0f, 0, true);
    EXPECT_EQ(a.pixel(4, 4) & 0xFF, 0x7Fu);
    EXPECT_EQ(a.pixel(4, 5) & 0xFF, 0x7Fu);
    EXPECT_EQ(a.pixel(4, 3), 0u);
    mirqLine(&a, 2.0f, 8.0f, 7.0f, 8.0f, int(WHITE), 1.0f, 0, true);
    EXPECT_EQ(a.pixel(2, 8), WHITE);
    EXPECT_EQ(a.pixel(4, 7), 0u);
}

TEST(DrawLibraryTest, ThickLinesHaveTheirWidthAcross) {
    for (int scale : {0, 512}) {
        int k = scale ? 2 : 1;
        MemoryBitmap b(20, 20, scale);
        mirqThickFLine(&b, 2.0, 10.0, 17.0, 10.0, int(WHITE), 1.0f, 0, false, 3.0);
        EXPECT_EQ(inked(b), 16 * 3 * k * k);
        EXPECT_EQ(b.pixel(2 * k, 9 * k), WHITE);
        EXPECT_EQ(b.pixel(2 * k, 8 * k), 0u);
        // A diagonal of thickness 3: about 3 * length pixels, clipped at the corner.
        MemoryBitmap d(20, 20, scale);
        mirqThickFLine(&d, -5.0, -5.0, 10.0, 10.0, int(WHITE), 1.0f, 0, true, 3.0);
        double covered = 0;
        for (int y = 0; y < d.storedHeight(); y++)
            for (int x = 0; x < d.storedWidth(); x++) covered += (d.pixel(x, y) & 0xFF) / 255.0;
        // The part inside: from the corner's pixel centre area to (10, 10), length about 10.6.
        EXPECT_NEAR(covered / (k * k), 3.0 * 10.0 * std::numbers::sqrt2, 4.0);
    }
}

TEST(DrawLibraryTest, CirclesAndDiscsAtEdgesAndScales) {
    for (int scale : {0, 256, 512}) {
        int k = scale == 512 ? 2 : 1;
        MemoryBitmap b(40, 40, scale);
        mirqFillCircle(&b, 20.0f, 20.0f, 10.0f, int(WHITE), 1.0f, 0, false);
        EXPECT_NEAR(inked(b) / double(k * k), std::numbers::pi * 100.0, 12.0) << scale;
        EXPECT_EQ(b.pixel(20 * k, 11 * k - 1), WHITE) << "the top point is inside";
        EXPECT_EQ(b.pixel(20 * k, 9 * k), 0u);

        // A disc on the corner: a quarter of it, no writes outside.
        MemoryBitmap c(40, 40, scale, true, 2);
        mirqFillCircle(&c, 0.0f, 0.0f, 10.0f, int(WHITE), 1.0f, 0, true);
        double covered = 0;
        for (int y = 0; y < c.storedHeight(); y++)
            for (int x = 0; x < c.storedWidth(); x++) covered += (c.pixel(x, y) & 0xFF) / 255.0;
        // The pixels of the quarter, plus a half row and column for the pixels on the axes.
        EXPECT_NEAR(covered / (k * k), std::numbers::pi * 100.0 / 4.0 + 10.0, 3.0);
        expectSpanUntouched(c);

        // A ring one pixel wide, anti-aliased: about its circumference in coverage.
        MemoryBitmap r(40, 40, scale);
        mirqCircle(&r, 20.0f, 20.0f, 12.0f, int(WHITE), 1.0f, 0, true);
        double ring = 0;
        for (int y = 0; y < r.storedHeight(); y++)
            for (int x = 0; x < r.storedWidth(); x++) ring += (r.pixel(x, y) & 0xFF) / 255.0;
        EXPECT_NEAR(ring / (k * k), 2.0 * std::numbers::pi * 12.0, 2.0);
        EXPECT_EQ(r.pixel(20 * k, 20 * k), 0u);
        mirqCircle(&r, 20.0f, 20.0f, 500.0f, int(WHITE), 1.0f, 0, false);  // all outside
        mirqFillCircle(&r, 20.0f, 20.0f, -3.0f, int(WHITE), 1.0f, 0, false);
        EXPECT_NEAR(ring, [&] {
            double v = 0;
            for (int y = 0; y < r.storedHeight(); y++)
                for (int x = 0; x < r.storedWidth(); x++) v += (r.pixel(x, y) & 0xFF) / 255.0;
            return v;
        }(), 1e-9);
    }
}

TEST(DrawLibraryTest, PolygonsIncludeTheirEdges) {
    for (int scale : {0, 256, 512}) {
        int k = scale == 512 ? 2 : 1;
        MemoryBitmap b(12, 12, scale);
        const int xs[4] = {2, 6, 6, 2}, ys[4] = {1, 1, 5, 5};
        mirqFillConvexPolygon(&b, xs, ys, 4, int(RED), 1.0f, 0);
        EXPECT_EQ(inked(b), 25 * k * k) << scale;
        EXPECT_EQ(b.pixel(2 * k, k), RED);
        EXPECT_EQ(b.pixel(7 * k - 1, 6 * k - 1), RED);

        // A triangle reaching past two edges: its pixels inside, the half below the diagonal.
        MemoryBitmap t(12, 12, scale, true, 1);
        mirqFillTriangle(&t, -20, -20, 40, 40, -20, 40, int(RED), 1.0f, 0);
        EXPECT_EQ(inked(t), 12 * k * (12 * k + 1) / 2);
        EXPECT_EQ(t.pixel(0, 12 * k - 1), RED);
        EXPECT_EQ(t.pixel(12 * k - 1, 0), 0u);
        expectSpanUntouched(t);
        mirqFillConvexPolygon(&t, xs, ys, 2, int(WHITE), 1.0f, 0);
        mirqFillConvexPolygon(&t, nullptr, ys, 4, int(WHITE), 1.0f, 0);
    }
}

TEST(DrawLibraryTest, BlitsClipCopyBlendAndFilter) {
    MemoryBitmap source(4, 4);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++) source.pixel(x, y) = 0xFF000000u | uint32_t(y * 4 + x);
    // Copied past the top left corner of the destination: the source's lower right shows.
    MemoryBitmap dest(6, 6, 0, true, 2);
    mirqBlit(&dest, &source, -2, -1, 0, 0, 4, 4, 1.0f, 0);
    EXPECT_EQ(dest.pixel(0, 0), 0xFF000006u);
    EXPECT_EQ(dest.pixel(1, 2), 0xFF00000Fu);
    EXPECT_EQ(dest.pixel(2, 0), 0u);
    // A source rectangle past the source's edge is cut; the destination moves with it.
    mirqBlit(&dest, &source, 3, 3, -1, 2, 10, 10, 1.0f, 0);
    EXPECT_EQ(dest.pixel(3, 3), 0u);
    EXPECT_EQ(dest.pixel(4, 3), 0xFF000008u);
    EXPECT_EQ(dest.pixel(5, 4), 0xFF00000Du);
    expectSpanUntouched(dest);

    // Opacity, additive mode and the source's own (premultiplied) alpha.
    MemoryBitmap one(1, 1), two(1, 1);
    one.pixel(0, 0) = 0x80400000u;  // half covered, red at 0x80 before premultiplying
    two.fill(0xFF0000FFu);
    mirqBlit(&two, &one, 0, 0, 0, 0, 1, 1, 1.0f, MIRQ_MODE_SOURCE_ALPHA);
    EXPECT_EQ(two.pixel(0, 0), 0xFF40007Fu);
    two.fill(0xFF0000FFu);
    mirqBlit(&two, &one, 0, 0, 0, 0, 1, 1, 0.5f, MIRQ_MODE_ADD);
    EXPECT_EQ(two.pixel(0, 0), 0xFF2000FFu);

    // A scale 512 source onto a plain destination: filtered, each pixel is the mean of its 2 by 2.
    MemoryBitmap fine(2, 2, 512), plain(2, 2);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++) fine.pixel(x, y) = 0xFF000000u | uint32_t(((x + y) & 1) * 200);
    mirqBlit(&plain, &fine, 0, 0, 0, 0, 2, 2, 1.0f, MIRQ_MODE_FILTER);
    EXPECT_EQ(plain.pixel(1, 1), 0xFF000064u);
    // Without the filter one of them, and up to scale 512: each pixel becomes 2 by 2.
    mirqBlit(&plain, &fine, 0, 0, 0, 0, 2, 2, 1.0f, 0);
    EXPECT_EQ(plain.pixel(0, 0) & 0xFF, 0u) << "the stored pixel right of and below the centre";
    MemoryBitmap up(2, 2, 512);
    mirqBlit(&up, &source, 0, 0, 1, 1, 2, 2, 1.0f, MIRQ_MODE_FILTER);
    EXPECT_EQ(up.pixel(0, 0), 0xFF000005u);
    EXPECT_EQ(up.pixel(3, 3), 0xFF00000Au);
    mirqBlit(&up, &up, 0, 0, 0, 0, 2, 2, 1.0f, 0);  // itself: nothing
    mirqBlit(&up, nullptr, 0, 0, 0, 0, 2, 2, 1.0f, 0);
}

TEST(DrawLibraryTest, RotatedBlitTurnsClockwiseAndClips) {
    // A 24 by 24 sprite with one marked block at its top centre.
    MemoryBitmap sprite(24, 24);
    for (int y = 0; y < 4; y++)
        for (int x = 10; x < 14; x++) sprite.pixel(x, y) = WHITE;
    for (int scale : {0, 512}) {
        int k = scale ? 2 : 1;
        MemoryBitmap plain(24, 24, scale);
        mirqRotatedBlit(&plain, &sprite, 0, 0, 24, 24, 0, 0, 24, 24, 0.0, false, 1.0f, MIRQ_MODE_SOURCE_ALPHA, 0, 0);
        EXPECT_EQ(plain.pixel(11 * k, 1 * k), WHITE);
        EXPECT_EQ(inked(plain), 16 * k * k);
        // A quarter turn clockwise puts the block at the right edge's middle.
        MemoryBitmap turned(24, 24, scale);
        mirqRotatedBlit(&turned, &sprite, 0, 0, 24, 24, 0, 0, 24, 24, std::numbers::pi / 2, false, 1.0f,
                        MIRQ_MODE_SOURCE_ALPHA | MIRQ_MODE_FILTER, 0, 0);
        EXPECT_EQ(turned.pixel(22 * k, 11 * k), WHITE);
        EXPECT_EQ(turned.pixel(1 * k, 11 * k), 0u);
    }
    // Half size, hanging off the top left corner, with a half opacity: only what lands inside.
    MemoryBitmap small(8, 8, 0, true, 3);
    mirqRotatedBlit(&small, &sprite, -6, -1, 12, 12, 0, 0, 24, 24, 0.0, true, 0.5f, MIRQ_MODE_SOURCE_ALPHA, 0, 0);
    EXPECT_EQ(small.pixel(0, 0), 0x80808080u);
    EXPECT_EQ(inked(small), 1);
    expectSpanUntouched(small);
}

TEST(DrawLibraryTest, GlyphsAndPixelsAtScale) {
    const unsigned char glyph[6] = {255, 0, 128, 0, 255, 255};  // 3 by 2
    for (int scale : {0, 256, 512}) {
        int k = scale == 512 ? 2 : 1;
        MemoryBitmap b(5, 4, scale, true, 1);
        mirqDrawGlyph(&b, 3, 3, int(RED), glyph, 3, 2, 1.0f, 0);  // only its top left 2 by 1 is inside
        EXPECT_EQ(inked(b), 1 * k * k);
        EXPECT_EQ(mirqGetPixel(&b, 3, 3), int(RED));
        EXPECT_EQ(mirqGetPixel(&b, 4, 3), 0);
        mirqDrawGlyph(&b, -2, 0, int(WHITE), glyph, 3, 2, 1.0f, 0);  // its right column at x 0
        EXPECT_EQ(mirqGetPixel(&b, 0, 0), int(0x80808080u)) << "on a clear pixel: premultiplied";
        EXPECT_EQ(mirqGetPixel(&b, 0, 1), int(WHITE));
        EXPECT_EQ(mirqGetPixel(&b, 5, 0), 0) << "outside";
        EXPECT_EQ(mirqGetPixel(&b, -1, 0), 0);
        expectSpanUntouched(b);
    }
    // A view on a host bitmap of either kind clips every function to itself.
    for (int kind : {HOST_BITMAP_MEMORY, HOST_BITMAP_SYSTEM}) {
        MIRQ_IBitmap* host = hostCreateBitmap(kind, 30, 30);
        ASSERT_TRUE(host);
        int scale = 512;
        host->extended(MIRQ_EXT_SET_SCALE, &scale);
        MIRQ_SubBitmap view(host, 10, 10, 5, 5);
        mirqClear(&view, int(RED));
        mirqFillCircle(&view, 2.0f, 2.0f, 20.0f, int(WHITE), 1.0f, 0, true);
        mirqLine(&view, -10, -10, 50, 50, int(RED), 1.0f, 0, true);
        int outside = 0, inside = 0;
        for (int y = 0; y < 60; y++)
            for (int x = 0; x < 60; x++) {
                bool in = x >= 20 && x < 30 && y >= 20 && y < 30;
                (in ? inside : outside) += host->pixels()[y * host->rowSpan() + x] != 0;
            }
        EXPECT_EQ(outside, 0);
        EXPECT_EQ(inside, 100);
        mirqDestroy(host);
    }
}

TEST(DrawLibraryTest, HsvRoundTrips) {
    int h, s, v, r, g, b;
    mirqRgbToHsv(255, 0, 0, &h, &s, &v);
    EXPECT_EQ(h, 0);
    EXPECT_EQ(s, 255);
    EXPECT_EQ(v, 255);
    mirqRgbToHsv(0, 0, 255, &h, &s, &v);
    EXPECT_EQ(h, 240);
    for (uint32_t c : {0x123456u, 0xFFEEDDu, 0x808080u, 0x00FF7Fu, 0x000000u}) {
        mirqRgbToHsv(int(c >> 16), int(c >> 8 & 0xFF), int(c & 0xFF), &h, &s, &v);
        mirqHsvToRgb(h, s, v, &r, &g, &b);
        EXPECT_NEAR(r, int(c >> 16), 3) << std::hex << c;
        EXPECT_NEAR(g, int(c >> 8 & 0xFF), 3);
        EXPECT_NEAR(b, int(c & 0xFF), 3);
    }
    mirqHsvToRgb(-120, 300, -5, &r, &g, &b);  // wrapped hue, clamped levels
    EXPECT_EQ(r + g + b, 0);
}

}  // namespace
