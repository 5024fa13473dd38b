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
    int mode;          // the blend mode; BLEND_COPY at full strength, BLEND_KEEP at none
    int strength;      // 256 = full
    bool bilinear;
};

struct TextureFill {
    int baseMode;  // FILL_ mode of the colour onto the pixel; BLEND_COPY at full opacity, BLEND_KEEP at none
    int opacity;   // 256 = full
    int blockShift;  // perspective division every 2^blockShift pixels
    int layerCount;  // 1 or 2
    TextureLayer layer[2];
};

// A texel or a base pixel as four channels; they may leave 0..255 between the stages.
struct PixelChannels {
    int r, g, b, a;
};

inline PixelChannels unpackPixel(uint32_t p) {
    return PixelChannels{int((p >> 16) & 0xFF), int((p >> 8) & 0xFF), int(p & 0xFF), int(p >> 24)};
}

// [any thread] The texel at a 16.16 position inside the texture.
inline PixelChannels sampleNearest(const TextureLayer& t, int u, int v) {
    return unpackPixel(t.rows[(v >> 16) * t.stride + (u >> 16)]);
}

// [any thread] The texel and its neighbours right, below and below right (wrapping to column
// and row 0), weighted by the fractions of the position.
inline PixelChannels sampleBilinear(const TextureLayer& t, int u, int v) {
    const int column = u >> 16, row = v >> 16;
    const int fx = u & 0xFFFF, fy = v & 0xFFFF;
    const int p = int((uint32_t(fx) * uint32_t(fy)) >> 16);
    const int w00 = 65536 - fx - fy + p, w10 = fx - p, w01 = fy - p, w11 = p;
    const int nextColumn = column + 1 == t.width ? 0 : column + 1;
    const uint32_t* upper = t.rows + row * t.stride;
    const uint32_t* lower = t.rows + (row + 1 == t.height ? 0 : row + 1) * t.stride;
    const uint32_t a = upper[column], b = upper[nextColumn], c = lower[column], d = lower[nextColumn];
    auto mix = [&](int shift) {
        return int((uint32_t(w00) * ((a >> shift) & 0xFF) + uint32_t(w10) * ((b >> shift) & 0xFF) +
                    uint32_t(w01) * ((c >> shift) & 0xFF) + uint32_t(w11) * ((d >> shift) & 0xFF)) >> 16);
    };
    return PixelChannels{mix(16), mix(8), mix(0), mix(24)};
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
