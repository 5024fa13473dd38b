#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "renderer/pixel_blend.h"
#include "renderer/texture_fillers.h"
#include "support/render_fixture.h"

namespace {

// A quad far larger than the view at depth 1: every pixel of the target is covered.
struct FullQuad : RenderStage {
    Material material;
    Mesh* quad;
    FullQuad(double r, double g, double b, int w = 8, int h = 8) : RenderStage(w, h), material(solidMaterial(r, g, b)) {
        quad = keep(facingQuad(&material, 4.0, 4.0, 0.0, 0.0, 1.0));
    }
    uint32_t paintOver(uint32_t background) {
        bitmap.fill(background);
        render({quad});
        return bitmap.pixel(bitmap.logicalWidth / 2, bitmap.logicalHeight / 2);
    }
};

// A texture in memory; pixel (x, y) of the picture.
struct Texture : MemoryBitmap {
    Texture(int w, int h, std::initializer_list<uint32_t> texels) : MemoryBitmap(w, h) {
        std::copy(texels.begin(), texels.end(), store.begin());
    }
};

constexpr uint32_t BACKGROUND = 0x80204060u;  // alpha 128, red 32, green 64, blue 96

}  // namespace

TEST(FillersTest, FullOpacityCoversEveryPixelWithTheExactColour) {
    FullQuad stage(1.0, 0.5, 0.25);
    stage.material.smooth = 0;
    stage.paintOver(0);
    EXPECT_EQ(stage.count(0xFFFF7F3Fu), 64) << "flat: each channel (int)(c * 255)";
    stage.material.smooth = 1;
    stage.paintOver(0);
    EXPECT_EQ(stage.count(0xFFFF8040u), 64) << "smooth: 8.24 down to 0..256, 1.0 clamped to 255";
}

TEST(FillersTest, EachFillModeOnKnownPixels) {
    FullQuad stage(1.0, 0.5, 0.25);
    Material& m = stage.material;
    m.opacity = 0.5;
    m.smooth = 0;
    EXPECT_EQ(stage.paintOver(BACKGROUND), 0xBF8F5F4Fu) << "half opacity averages, alpha against 255";
    m.smooth = 1;
    EXPECT_EQ(stage.paintOver(BACKGROUND), 0xBF8F6050u);

    struct Case {
        int mode;
        uint32_t flat, smooth;
    };
    // Opacity 0.75 over the background, worked out channel by channel (divisions cut toward zero).
    const Case cases[] = {
        {FILL_NORMAL, 0xE0C87047u, 0xE0C87048u},   {FILL_ADD, 0xFFDF9F8Fu, 0xFFDFA090u},
        {FILL_DODGE, 0xFF7E6575u, 0xFF7E6676u},    {FILL_MULTIPLY, 0x7F1F2729u, 0x7F1F282Au},
        {FILL_OVERLAY, 0xAF343F49u, 0xAF344049u},  {FILL_HSV, 0x80301019u, 0x80301019u},
    };
    m.opacity = 0.75;
    for (const Case& c : cases) {
        m.fillMode = c.mode;
        m.smooth = 0;
        EXPECT_EQ(stage.paintOver(BACKGROUND), c.flat) << "flat, mode " << c.mode;
        EXPECT_EQ(stage.count(c.flat), 64);
        m.smooth = 1;
        EXPECT_EQ(stage.paintOver(BACKGROUND), c.smooth) << "smooth, mode " << c.mode;
    }

    m.fillMode = 0x100 | FILL_ADD;
    EXPECT_EQ(stage.paintOver(BACKGROUND), 0xFFDFA090u) << "only the low byte chooses";
    m.fillMode = 6;
    EXPECT_EQ(stage.paintOver(BACKGROUND), BACKGROUND) << "no such mode: nothing drawn";
    m.fillMode = FILL_ADD;
    m.opacity = 0.0;
    EXPECT_EQ(stage.paintOver(BACKGROUND), BACKGROUND) << "opacity 0 draws nothing";
}

TEST(FillersTest, SmoothColourIsInterpolatedAcrossRows) {
    FullQuad stage(0.0, 0.0, 0.0, 8, 8);
    Face* f = meshFaces(stage.quad);
    stage.material.lit = 1;
    stage.material.smooth = 1;
    // Lit by nothing: the colour is the corner base, red along the rows (v), blue across (u).
    for (int i = 0; i < 2; i++)
        for (int c = 0; c < 3; c++) {
            f[i].cornerBase[c][0] = f[i].v[0][c];
            f[i].cornerBase[c][2] = f[i].u[0][c];
        }
    stage.render({stage.quad});
    // The quad spans 4 units, the view 1: a quarter of the ramp, centred, 1/32 of it per pixel.
    for (int y = 0; y < 8; y++) {
        int red = int((stage.bitmap.pixel(0, y) >> 16) & 0xFF);
        EXPECT_NEAR(red, 96 + 8 * y, 2) << "row " << y;
        int blue = int(stage.bitmap.pixel(y, 0) & 0xFF);
        EXPECT_NEAR(blue, 96 + 8 * y, 2) << "column " << y;
    }

    // Steeper ramps leave 0..1 inside the view and are clamped there; green stays above 1.
    for (int i = 0; i < 2; i++)
        for (int c = 0; c < 3; c++) {
            f[i].cornerBase[c][2] = f[i].u[0][c] * 8.0 - 3.25;  // x / 4 - 1 / 4 across the view
            f[i].cornerBase[c][1] = 2.0;
        }
    stage.render({stage.quad});
    for (int x = 0; x < 8; x++) {
        const uint32_t p = stage.bitmap.pixel(x, 3);
        // A pixel takes the value of a point up to half a pixel from its edge.
        const int expected = std::clamp(int(256 * (0.25 * x - 0.25)), 0, 255);
        EXPECT_NEAR(int(p & 0xFF), expected, 33) << "column " << x;
        EXPECT_EQ((p >> 8) & 0xFF, 255u);
    }
    EXPECT_EQ(stage.bitmap.pixel(0, 3) & 0xFF, 0u);
    EXPECT_EQ(stage.bitmap.pixel(7, 3) & 0xFF, 255u);
}

TEST(FillersTest, DepthTestRejectsEqualDepthAndBlendedFacesDoNotWrite) {
    RenderStage stage(8, 8);
    stage.camera.useDepth = 1;
    stage.camera.sortOrder = 0;  // drawn as added
    Material red = solidMaterial(1, 0, 0), green = solidMaterial(0, 1, 0);
    Mesh* nearRed = stage.keep(facingQuad(&red, 4.0, 4.0, 0.0, 0.0, 1.0));
    Mesh* nearGreen = stage.keep(facingQuad(&green, 4.0, 4.0, 0.0, 0.0, 1.0));
    Mesh* farGreen = stage.keep(facingQuad(&green, 8.0, 8.0, 0.0, 0.0, 2.0));
    Mesh* farRed = stage.keep(facingQuad(&red, 8.0, 8.0, 0.0, 0.0, 2.0));

    stage.render({nearRed, nearGreen});
    EXPECT_EQ(stage.count(0xFFFF0000u), 64) << "equal depth loses";
    stage.render({farGreen, nearRed});
    EXPECT_EQ(stage.count(0xFFFF0000u), 64) << "nearer wins";
    stage.render({nearRed, farGreen});
    EXPECT_EQ(stage.count(0xFFFF0000u), 64) << "farther loses";

    green.blendType = BLEND_BLENDED;
    stage.render({nearRed, farGreen});
    EXPECT_EQ(stage.count(0xFFFF0000u), 64) << "blended faces are tested";
    stage.render({nearGreen, farRed});
    EXPECT_EQ(stage.count(0xFFFF0000u), 64) << "blended faces leave the depth buffer as it was";

    green.blendType = BLEND_NO_DEPTH;
    stage.render({nearRed, farGreen});
    EXPECT_EQ(stage.count(0xFF00FF00u), 64) << "blend type 0 ignores the depth buffer";
}

TEST(FillersTest, TextureBlendModes) {
    auto blend = [](int mode, int s, int sa, int d, int alpha) {
        int r = d, g = d, b = d, a = d;
        blendPixel(mode, s, s, s, sa, r, g, b, a, alpha, 256 - alpha);
        EXPECT_EQ(r, b);
        return r;
    };
    EXPECT_EQ(blend(FILL_NORMAL, 200, 255, 100, 64), 125);
    EXPECT_EQ(blend(FILL_ADD, 50, 255, 100, 256), 150);
    EXPECT_EQ(blend(FILL_ADD, 50, 255, 100, -256), 50) << "a negative strength subtracts";
    EXPECT_EQ(blend(FILL_DODGE, 128, 255, 100, 256), 200);
    EXPECT_EQ(blend(FILL_MULTIPLY, 128, 255, 100, 256), 50);
    EXPECT_EQ(blend(FILL_OVERLAY, 128, 255, 100, 256), 100) << "overlay by mid grey changes nothing";
    EXPECT_EQ(blend(TEXTURE_ALPHA_STRENGTH | FILL_NORMAL, 200, 127, 100, 256), 150);
    EXPECT_EQ(blend(TEXTURE_ALPHA_STRENGTH | FILL_ADD, 200, 255, 100, 256), 300) << "unclamped";
    EXPECT_EQ(blend(TEXTURE_ALPHA_STRENGTH | FILL_MULTIPLY, 128, 127, 100, 256), 75);
    EXPECT_EQ(blend(FILL_KEEP, 7, 7, 100, 256), 100);
    EXPECT_EQ(blend(7, 33, 33, 100, 256), 33) << "an unknown mode copies";

    int r = 255, g = 0, b = 0;
    hsvAdjust(r, g, b, 128, 128, 128, 256);
    EXPECT_EQ(r, 255);
    EXPECT_EQ(g, 0) << "a neutral source keeps the colour";
    EXPECT_EQ(b, 0);
    r = 32, g = 64, b = 96;
    hsvAdjust(r, g, b, 255, 127, 63, 192);
    EXPECT_EQ(r, 48);
    EXPECT_EQ(g, 16);
    EXPECT_EQ(b, 25);
}

TEST(FillersTest, BilinearWeightsAndWrapAtTheEdges) {
    // Channels red = green = blue: 0, 100 / 200, 40.
    Texture texture(2, 2, {0xFF000000u, 0xFF646464u, 0xFFC8C8C8u, 0xFF282828u});
    TextureSlot slot = {};
    slot.bitmap = &texture;
    slot.blendMode = TEXTURE_BILINEAR;
    TextureLayer layer;
    prepareTextureLayer(&layer, slot, 256);
    EXPECT_TRUE(layer.bilinear);
    EXPECT_EQ(layer.wrapU, 2 << 16);
    // fx = 1/4, fy = 1/2: weights 24576, 8192, 24576, 8192 of 65536.
    PixelChannels s = unpackPixel(sampleBilinear(layer, 0x4000, 0x8000));
    EXPECT_EQ(s.r, (8192 * 100 + 24576 * 200 + 8192 * 40) >> 16);
    EXPECT_EQ(s.a, 255);
    // Past the last column the right neighbour is column 0, past the last row row 0.
    s = unpackPixel(sampleBilinear(layer, 0x18000, 0x18000));
    EXPECT_EQ(s.g, (16384 * 40 + 16384 * 200 + 16384 * 100 + 16384 * 0) >> 16);
    EXPECT_EQ(sampleNearest(layer, 0x1FFFF, 0), 0xFF646464u);

    texture.bottomUp = true;
    prepareTextureLayer(&layer, slot, 256);
    EXPECT_EQ(sampleNearest(layer, 0, 0), 0xFFC8C8C8u) << "row 0 of a flipped texture is the last in memory";
}

TEST(FillersTest, StrengthModesAndOpacity) {
    Texture texture(1, 1, {0x40C08020u});
    FullQuad stage(0.5, 0.5, 0.5);
    Material& m = stage.material;
    m.texture[0].bitmap = &texture;
    m.texture[0].blendMode = FILL_NORMAL;
    m.opacity = 0.3;
    EXPECT_EQ(stage.paintOver(BACKGROUND), 0x40C08020u) << "normal at full strength copies the texture";

    m.texture[0].alpha = 0.0;
    EXPECT_EQ(stage.paintOver(BACKGROUND), packPixel((32 * (65536 - 256 * 76) + 32768 * 76) >> 16,
                                                     (64 * (65536 - 256 * 76) + 32768 * 76) >> 16,
                                                     (96 * (65536 - 256 * 76) + 32768 * 76) >> 16, 76))
        << "strength 0: the base alone, the colour over the pixel at the opacity";
    m.opacity = 0.0;
    EXPECT_EQ(stage.paintOver(BACKGROUND), BACKGROUND) << "opacity 0: the base is the pixel";

    m.opacity = 1.0;
    m.texture[0].alpha = -1.0;
    m.texture[0].blendMode = FILL_ADD;
    EXPECT_EQ(stage.paintOver(BACKGROUND), packPixel(128 - 0xC0, 128 - 0x80, 128 - 0x20, 256 - 0x40))
        << "a negative strength in the add mode darkens";
}

TEST(FillersTest, CoordinatesWrapAndRepeat) {
    Texture halves(2, 1, {0xFF000000u, 0xFFFFFFFFu});
    FullQuad stage(0, 0, 0, 16, 2);
    Material& m = stage.material;
    m.texture[0].bitmap = &halves;
    m.texture[0].blendMode = FILL_NORMAL;
    // A pixel samples within half a pixel of its left edge: each texel spans 4 pixels here, and
    // only the pixels a whole pixel away from a texel's edge are compared.
    auto row = [&]() {
        stage.render({stage.quad});
        std::string text;
        for (int x = 0; x < 16; x++) {
            bool clear = x % 4 == 1 || x % 4 == 2;
            text += !clear ? '.' : stage.bitmap.pixel(x, 1) == 0xFFFFFFFFu ? 'W' : 'b';
        }
        return text;
    };
    // The view shows the middle quarter of the quad.
    setQuadCoordinates(stage.quad, -3.0, 5.0, 0.0, 1.0);
    EXPECT_EQ(row(), ".bb..WW..bb..WW.") << "u from 0 to 2 across the view: the texture twice";
    setQuadCoordinates(stage.quad, -2.0, 6.0, 0.0, 1.0);
    EXPECT_EQ(row(), ".bb..WW..bb..WW.") << "u from 1 to 3 wraps";
    m.texture[0].uScale = 2.0;
    setQuadCoordinates(stage.quad, -1.5, 2.5, 0.0, 1.0);
    EXPECT_EQ(row(), ".bb..WW..bb..WW.") << "a scale of 2 repeats the texture";
}

// A wall receding from depth 1 to 5 on the left of the view, checkered 4 by 4: each pixel shows
// the square that the ray through it meets, as long as the square does not change within a
// pixel or so of it.
TEST(FillersTest, CheckerboardUnderPerspective) {
    const uint32_t B = 0xFF000000u, W = 0xFFFFFFFFu;
    Texture checker(4, 4, {B, W, B, W, W, B, W, B, B, W, B, W, W, B, W, B});
    const int size = 320;
    RenderStage stage(size, size);
    Material m = solidMaterial(0, 0, 0);
    m.cullBack = 0;
    m.texture[0].bitmap = &checker;
    m.texture[0].blendMode = FILL_NORMAL;
    Mesh* wall = stage.keep(makePlane(1.0, 4.0, 1, &m));
    wall->rotZ = 90.0;  // the plane x = 0: its u runs up the wall, its v away from the eye
    wall->x = -0.5;
    wall->z = 3.0;

    auto squareAt = [&](double px, double py) {
        double X = (px - size / 2) / size, Y = (py - size / 2) / size;
        if (X >= 0.0) return -1;
        double t = -0.5 / X;
        double u = 0.5 - Y * t, v = (t - 1.0) / 4.0;
        if (u < 0 || u >= 1 || v < 0 || v >= 1) return -1;
        return (int(u * 4) + int(v * 4)) & 1;
    };
    for (int step : {0, 16}) {
        m.perspectiveStep = uint8_t(step);
        stage.bitmap.fill(0x12345678u);
        stage.render({wall});
        // Inside a block the position is linear in x: up to some pixels off where depth changes fast.
        const double margin = step ? 6.0 : 1.0;
        int checked = 0;
        for (int y = 0; y < size; y++)
            for (int x = 0; x < size; x++) {
                int square = squareAt(x, y);
                if (square < 0) continue;
                bool clear = true;
                for (double dx : {-margin, margin})
                    for (double dy : {-margin, margin}) clear = clear && squareAt(x + dx, y + dy) == square;
                if (!clear) continue;
                checked++;
                ASSERT_EQ(stage.bitmap.pixel(x, y), square ? W : B) << "step " << step << " at " << x << ", " << y;
            }
        EXPECT_GT(checked, size * size / 10) << "most of the wall is checked";
    }
}

TEST(FillersTest, ColourPlusTextureFollowsTheBlendRule) {
    // The face's colour at full opacity with one texture added, as the room's walls are drawn:
    // each channel s + (t * strength >> 8), alpha 256 + (ta * strength >> 8), then clamped.
    Texture texel(1, 1, {0});
    FullQuad stage(0, 0, 0, 4, 4);
    Material& m = stage.material;
    m.texture[0].bitmap = &texel;
    m.texture[0].blendMode = FILL_ADD;
    uint32_t seed = 12345;
    auto next = [&seed]() {
        seed = seed * 1664525u + 1013904223u;
        return seed >> 24;
    };
    for (int strength = -256; strength <= 256; strength += 8) {
        if (strength == 0) continue;
        for (int trial = 0; trial < 4; trial++) {
            const int s[3] = {int(next()), int(next()), int(next())};
            for (int k = 0; k < 3; k++) m.emissive[k] = s[k] / 256.0;
            texel.store[0] = next() | next() << 8 | next() << 16 | next() << 24;
            m.texture[0].alpha = strength / 256.0;
            const PixelChannels t = unpackPixel(texel.store[0]);
            const uint32_t expected = packPixel(s[0] + ((t.r * strength) >> 8), s[1] + ((t.g * strength) >> 8),
                                                s[2] + ((t.b * strength) >> 8), 256 + ((t.a * strength) >> 8));
            ASSERT_EQ(stage.paintOver(BACKGROUND), expected) << "strength " << strength;
        }
    }
}

TEST(FillersTest, TwoTexturesBlendInTurn) {
    Texture first(1, 1, {0x80604020u}), second(1, 1, {0xFF4080C0u});
    FullQuad stage(0.5, 0.5, 0.5);
    Material& m = stage.material;
    m.texture[0].bitmap = &first;
    m.texture[0].blendMode = FILL_NORMAL;  // copied at full strength
    m.texture[1].bitmap = &second;         // environment mapped: any texel of a 1 by 1 texture
    m.texture[1].alpha = 0.5;
    EXPECT_EQ(stage.paintOver(BACKGROUND), packPixel(0x60 + 0x20, 0x40 + 0x40, 0x20 + 0x60, 0x80 + 0x7F));
    m.texture[1].blendMode = FILL_MULTIPLY;
    m.texture[1].alpha = 1.0;
    EXPECT_EQ(stage.paintOver(BACKGROUND),
              packPixel(0x60 * 0x40 / 256, 0x40 * 0x80 / 256, 0x20 * 0xC0 / 256, 0x80 * 0xFF / 256));
}
