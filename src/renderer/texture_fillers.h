// The fillers of textured faces, with one texture or two: the texture position is divided by
// 1/z once per block of pixels and stepped linearly inside it, sampled nearest or bilinear with
// wrap-around, and each texture is blended onto a base made from the face's colour and the
// pixel beneath. Called by Camera::fillTriangle.
#pragma once

#include <cstddef>
#include <cstdint>

#include "renderer/scan.h"

struct MIRQ_IBitmap;
struct TextureSlot;

// One texture as a filler reads it. Positions are 16.16 texels.
struct TextureLayer {
    const uint32_t* rows;  // row 0 of the picture; a flipped bitmap has it last in memory
    ptrdiff_t stride;      // pixels from one row to the next, negative when flipped
    int width, height;
    int wrapU, wrapV;  // width << 16, height << 16
    int mode;          // the blend mode; FILL_COPY at full strength, FILL_KEEP at none
    int strength;      // 256 = full
    bool bilinear;
};

struct TextureFill {
    int baseMode;  // FILL_ mode of the colour onto the pixel; FILL_COPY at full opacity, FILL_KEEP at none
    int opacity;   // 256 = full
    int blockShift;  // perspective division every 2^blockShift pixels
    int layerCount;  // 1 or 2
    TextureLayer layer[2];
};

// A texel or a base pixel as four channels; they may leave 0..255 between the stages.
struct PixelChannels {
    int r, g, b, a;
};

FILLER_INLINE PixelChannels unpackPixel(uint32_t p) {
    return PixelChannels{int((p >> 16) & 0xFF), int((p >> 8) & 0xFF), int(p & 0xFF), int(p >> 24)};
}

// [any thread] The texel at a 16.16 position inside the texture.
FILLER_INLINE uint32_t sampleNearest(const TextureLayer& t, int u, int v) {
    return t.rows[(v >> 16) * t.stride + (u >> 16)];
}

// Two channels of a pixel 32 bits apart in one 64-bit word: blue and red, or green and alpha.
// Integer sums of such words carry each channel on its own as long as the true sums of both
// stay within 0 .. 2^32 - 1, whatever the intermediate values.
FILLER_INLINE uint64_t blueRedLanes(uint32_t p) {
    return (p & 0xFFu) | (uint64_t(p & 0xFF0000u) << 16);
}
FILLER_INLINE uint64_t greenAlphaLanes(uint32_t p) {
    return ((p >> 8) & 0xFFu) | (uint64_t((p >> 8) & 0xFF0000u) << 16);
}

// [any thread] The texel and its neighbours right, below and below right (wrapping to column
// and row 0), weighted by the fractions fx, fy of the position: 65536 - fx - fy + p, fx - p,
// fy - p and p with p = fx * fy >> 16, each channel's sum >> 16. A texel, channels 0..255.
FILLER_INLINE uint32_t sampleBilinear(const TextureLayer& t, int u, int v) {
    const int column = u >> 16, row = v >> 16;
    const uint64_t fx = uint64_t(u & 0xFFFF), fy = uint64_t(v & 0xFFFF);
    const uint64_t p = (fx * fy) >> 16;
    const int nextColumn = column + 1 == t.width ? 0 : column + 1;
    const uint32_t* upper = t.rows + row * t.stride;
    const uint32_t* lower = t.rows + (row + 1 == t.height ? 0 : row + 1) * t.stride;
    const uint32_t a = upper[column], b = upper[nextColumn], c = lower[column], d = lower[nextColumn];
    if (a == b && a == c && a == d) return a;  // weights summing to 65536 on one value
    // The weighted sum regrouped: 65536 a + fx (b - a) + fy (c - a) + p (a - b - c + d).
    auto weigh = [&](uint64_t la, uint64_t lb, uint64_t lc, uint64_t ld) {
        return (la << 16) + fx * (lb - la) + fy * (lc - la) + p * (la - lb - lc + ld);
    };
    const uint64_t blueRed = weigh(blueRedLanes(a), blueRedLanes(b), blueRedLanes(c), blueRedLanes(d));
    const uint64_t greenAlpha = weigh(greenAlphaLanes(a), greenAlphaLanes(b), greenAlphaLanes(c), greenAlphaLanes(d));
    return uint32_t((blueRed >> 16) & 0xFFu) | uint32_t((greenAlpha >> 8) & 0xFF00u) |
           uint32_t((blueRed >> 32) & 0xFF0000u) | uint32_t((greenAlpha >> 24) & 0xFF000000u);
}

// Largest texture side a filler takes: positions and their steps stay inside int.
constexpr int TEXTURE_MAX_SIDE = 16384;

// [window thread] True when the slot's bitmap can be sampled: pixels, and sides 1..16384.
bool textureUsable(const TextureSlot& slot);

// [window thread] Prepares one layer from a usable slot; strength is (int)(alpha * 256).
void prepareTextureLayer(TextureLayer* layer, const TextureSlot& slot, int strength);

// [window thread] Completes fill (its layers prepared) for a face with the given fill mode,
// opacity and perspective step, and gives its row filler.
RowFiller prepareTextureFill(TextureFill* fill, int fillMode, int opacity, uint8_t perspectiveStep, DepthUse depth);
