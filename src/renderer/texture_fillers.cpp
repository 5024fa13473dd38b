#include "renderer/texture_fillers.h"

#include <bit>

#include "foundation/bitmap.h"
#include "renderer/material.h"
#include "renderer/pixel_blend.h"

bool textureUsable(const TextureSlot& slot) {
    if (!slot.bitmap || !slot.bitmap->pixels()) return false;
    const int w = slot.bitmap->width(), h = slot.bitmap->height();
    return w > 0 && h > 0 && w <= TEXTURE_MAX_SIDE && h <= TEXTURE_MAX_SIDE;
}

void prepareTextureLayer(TextureLayer* layer, const TextureSlot& slot, int strength) {
    MIRQ_IBitmap* bitmap = slot.bitmap;
    layer->width = bitmap->width();
    layer->height = bitmap->height();
    const ptrdiff_t span = bitmap->rowSpan();
    layer->rows = bitmap->pixels();
    layer->stride = span;
    if (bitmap->flipped()) {
        layer->rows += (layer->height - 1) * span;
        layer->stride = -span;
    }
    layer->wrapU = layer->width << 16;
    layer->wrapV = layer->height << 16;
    layer->bilinear = (slot.blendMode & TEXTURE_FILTER_MASK) == TEXTURE_BILINEAR;
    layer->strength = strength;
    layer->mode = slot.blendMode & (TEXTURE_ALPHA_STRENGTH | 0xFF);
    if (layer->mode == FILL_NORMAL && strength == 256) layer->mode = FILL_COPY;
    if (strength == 0) layer->mode = FILL_KEEP;
}

namespace {

// The base that the first texture is blended onto: the face's colour c (8.24) combined with the
// pixel d by the fill mode at opacity a. Unclamped.
FILLER_INLINE PixelChannels base(int mode, int a, const int c[3], uint32_t pixel) {
    const PixelChannels d = unpackPixel(pixel);
    const int s[3] = {clampChannel(c[0] >> 16), clampChannel(c[1] >> 16), clampChannel(c[2] >> 16)};
    switch (mode) {
    case FILL_COPY:
        return PixelChannels{s[0], s[1], s[2], a};
    case FILL_NORMAL: {
        auto mix = [a](int dc, int colour) {
            return int((int64_t(dc) * (65536 - 256 * a) + int64_t(colour >> 8) * a) >> 16);
        };
        return PixelChannels{mix(d.r, c[0]), mix(d.g, c[1]), mix(d.b, c[2]), a};
    }
    case FILL_ADD: {
        auto add = [a](int dc, int colour) { return dc + int((int64_t(colour >> 8) * a) >> 16); };
        return PixelChannels{add(d.r, c[0]), add(d.g, c[1]), add(d.b, c[2]), d.a + a};
    }
    case FILL_DODGE: {
        auto dodge = [a](int dc, int sc) {
            const int t = 256 - (sc * a) / 256;
            return t > 1 ? (dc * 256) / t : dc * 256;
        };
        return PixelChannels{dodge(d.r, s[0]), dodge(d.g, s[1]), dodge(d.b, s[2]), dodge(d.a, a)};
    }
    case FILL_MULTIPLY: {
        auto multiply = [a](int dc, int sc) { return int((int64_t(dc) * (sc * a + 65536 - 256 * a)) >> 16); };
        return PixelChannels{multiply(d.r, s[0]), multiply(d.g, s[1]), multiply(d.b, s[2]), multiply(d.a, a)};
    }
    case FILL_OVERLAY: {
        auto overlay = [a](int dc, int sc) {
            const int64_t q = int64_t(sc) * a + 32768 - 128 * a;
            return int((dc * (q + ((32768 - q) * dc) / 256)) >> 15);
        };
        return PixelChannels{overlay(d.r, s[0]), overlay(d.g, s[1]), overlay(d.b, s[2]), overlay(d.a, a)};
    }
    case FILL_HSV: {
        PixelChannels out = d;
        hsvAdjust(out.r, out.g, out.b, s[0], s[1], s[2], a);
        return out;
    }
    default:  // FILL_KEEP and modes without a rule: the pixel as it is
        return d;
    }
}

// Where a layer stands in a block: the position at its start and the step per pixel.
struct LayerWalk {
    int u, v, du, dv;
};

// 16.16 texel positions far beyond any texture still fit, and a division by a vanishing 1/z
// gives no undefined conversion.
FILLER_INLINE int64_t texelPosition(double value) {
    constexpr double LIMIT = 1099511627776.0;  // 2^40
    if (!(value > -LIMIT)) return value != value ? 0 : -int64_t(LIMIT);
    return value < LIMIT ? int64_t(value) : int64_t(LIMIT);
}

FILLER_INLINE int wrapInto(int64_t value, int range) {
    if (value >= 0 && value < range) return int(value);  // the usual case, without a division
    int64_t r = value % range;
    return int(r < 0 ? r + range : r);
}

FILLER_INLINE int limitStep(int64_t step, int range) {
    return int(step < -range ? -range : step > range ? range : step);
}

FILLER_INLINE void advance(int& position, int step, int range) {
    position += step;
    if (position >= range)
        position -= range;
    else if (position < 0)
        position += range;
}

// How a pixel is made from the texture samples. The general way runs the base and each
// layer's blend as their modes say. The room's walls, the face's colour at full opacity with
// one texture added at a strength within 256 either way, have ways of their own.
enum TexturePixel { TEXTURE_PIXEL_GENERAL, TEXTURE_PIXEL_COLOUR_ADD, TEXTURE_PIXEL_COLOUR_SUBTRACT };

// The colour channels of a run as a pixel: blue and red, green and alpha 16 bits apart;
// clamped unless the run is known to stay inside 0..255.
template <bool Clamp>
FILLER_INLINE uint32_t colourLanes(int first, int second) {
    if constexpr (Clamp)
        return uint32_t(clampChannel(first >> 16)) | uint32_t(clampChannel(second >> 16)) << 16;
    else
        return uint32_t(first >> 16) | uint32_t(second >> 16) << 16;
}

// The colour plus the texel at strength 0..256: t * strength >> 8 in each lane stays below 256,
// the sum below 512; a lane that reaches 256 saturates.
FILLER_INLINE uint32_t addLanes(uint32_t colour, uint32_t texel, uint32_t strength) {
    const uint32_t sum = colour + (((texel * strength) >> 8) & 0x00FF00FFu);
    return (sum | (((sum >> 8) & 0x00010001u) * 0xFF)) & 0x00FF00FFu;
}

// The colour less the texel at strength 1..256, t * -strength >> 8 rounding down: each lane,
// lifted by 256 so that nothing borrows, keeps its low byte where it stayed at or above 256.
FILLER_INLINE uint32_t subtractLanes(uint32_t colour, uint32_t texel, uint32_t weight) {
    const uint32_t less = (((texel * weight) + 0x00FF00FFu) >> 8) & 0x00FF00FFu;
    const uint32_t lifted = (colour | 0x01000100u) - less;
    return lifted & (((lifted >> 8) & 0x00010001u) * 0xFF);
}

template <DepthUse Depth, int Layers, bool Bilinear, TexturePixel Kind, bool Clamp>
FILLER_INLINE void textureRun(const ScanRun& run, const ScanValues& step, const void* context) {
    // A local copy: the pixel stores cannot then alias the fill's fields.
    const TextureFill f = *static_cast<const TextureFill*>(context);
    const int blockShift = f.blockShift, block = 1 << blockShift;
    uint32_t* pixels = run.pixels;
    float* depth = run.depth;
    int c[3] = {run.start.color[0], run.start.color[1], run.start.color[2]};
    double invZ = run.start.invZ;

    // The perspective division runs on its own accumulators, once per block.
    double blockInvZ = run.start.invZ;
    double tex[2 * Layers];
    int64_t start[2 * Layers];
    for (int k = 0; k < 2 * Layers; k++) {
        tex[k] = run.start.tex[k];
        start[k] = texelPosition(tex[k] / blockInvZ);
    }

    for (int x = 0; x < run.count; x += block) {
        const int length = run.count - x < block ? run.count - x : block;
        blockInvZ += step.invZ * block;
        LayerWalk walk[Layers];
        for (int l = 0; l < Layers; l++) {
            const TextureLayer& t = f.layer[l];
            int64_t end[2];
            for (int k = 0; k < 2; k++) {
                tex[2 * l + k] += step.tex[2 * l + k] * block;
                end[k] = texelPosition(tex[2 * l + k] / blockInvZ);
            }
            walk[l].du = limitStep((end[0] - start[2 * l]) >> blockShift, t.wrapU);
            walk[l].dv = limitStep((end[1] - start[2 * l + 1]) >> blockShift, t.wrapV);
            walk[l].u = wrapInto(start[2 * l], t.wrapU);
            walk[l].v = wrapInto(start[2 * l + 1], t.wrapV);
            start[2 * l] = end[0];
            start[2 * l + 1] = end[1];
        }

        for (int i = x; i < x + length; i++) {
            if (depthPasses<Depth>(depth, i, invZ)) {
                uint32_t texels[Layers];
                for (int l = 0; l < Layers; l++) {
                    const TextureLayer& t = f.layer[l];
                    const bool bilinear = Layers == 1 ? Bilinear : t.bilinear;
                    texels[l] = bilinear ? sampleBilinear(t, walk[l].u, walk[l].v)
                                         : sampleNearest(t, walk[l].u, walk[l].v);
                }
                if constexpr (Kind == TEXTURE_PIXEL_COLOUR_ADD) {
                    // The base alpha is 256: with anything added it saturates.
                    const uint32_t strength = uint32_t(f.layer[0].strength);
                    const uint32_t blueRed = colourLanes<Clamp>(c[2], c[0]);
                    const uint32_t greenAlpha = colourLanes<Clamp>(c[1], 255 << 16);
                    pixels[i] = addLanes(blueRed, texels[0] & 0x00FF00FFu, strength) |
                                addLanes(greenAlpha, (texels[0] >> 8) & 0x00FF00FFu, strength) << 8 | 0xFF000000u;
                } else if constexpr (Kind == TEXTURE_PIXEL_COLOUR_SUBTRACT) {
                    // The base alpha is 256: less the texture's, then clamped to 255.
                    const uint32_t weight = uint32_t(-f.layer[0].strength);
                    const int alpha = 256 - int(((texels[0] >> 24) * weight + 0xFF) >> 8);
                    pixels[i] = subtractLanes(colourLanes<Clamp>(c[2], c[0]), texels[0] & 0x00FF00FFu, weight) |
                                (subtractLanes(colourLanes<Clamp>(c[1], 0), (texels[0] >> 8) & 0xFFu, weight) << 8) |
                                uint32_t(alpha > 255 ? 255 : alpha) << 24;
                } else {
                    PixelChannels out{0, 0, 0, 0};
                    if (f.layer[0].mode != FILL_COPY) out = base(f.baseMode, f.opacity, c, pixels[i]);
                    for (int l = 0; l < Layers; l++) {
                        const TextureLayer& t = f.layer[l];
                        const PixelChannels s = unpackPixel(texels[l]);
                        blendPixel(t.mode, s.r, s.g, s.b, s.a, out.r, out.g, out.b, out.a, t.strength,
                                   256 - t.strength);
                    }
                    pixels[i] = packPixel(out.r, out.g, out.b, out.a);
                }
            }
            for (int l = 0; l < Layers; l++) {
                advance(walk[l].u, walk[l].du, f.layer[l].wrapU);
                advance(walk[l].v, walk[l].dv, f.layer[l].wrapV);
            }
            c[0] = wrapAdd(c[0], step.color[0]);
            c[1] = wrapAdd(c[1], step.color[1]);
            c[2] = wrapAdd(c[2], step.color[2]);
            invZ += step.invZ;
        }
    }
}

template <DepthUse Depth, int Layers, bool Bilinear, TexturePixel Kind>
void textureRow(const ScanRun& run, const ScanValues& step, const void* context) {
    if (Kind != TEXTURE_PIXEL_GENERAL) {
        ScanRun settled = run;
        ScanValues settledStep = step;
        if (settleColour(settled, settledStep))
            return textureRun<Depth, Layers, Bilinear, Kind, false>(settled, settledStep, context);
    }
    textureRun<Depth, Layers, Bilinear, Kind, true>(run, step, context);
}

template <int Layers, bool Bilinear, TexturePixel Kind>
RowFiller rowFor(DepthUse depth) {
    static constexpr RowFiller rows[3] = {textureRow<DEPTH_NONE, Layers, Bilinear, Kind>,
                                          textureRow<DEPTH_TEST, Layers, Bilinear, Kind>,
                                          textureRow<DEPTH_TEST_WRITE, Layers, Bilinear, Kind>};
    return rows[depth];
}

}  // namespace

RowFiller prepareTextureFill(TextureFill* fill, int fillMode, int opacity, uint8_t perspectiveStep, DepthUse depth) {
    fill->opacity = opacity;
    fill->baseMode = fillMode & 0xFF;
    if (fill->baseMode == FILL_NORMAL && opacity == 256) fill->baseMode = FILL_COPY;
    if (opacity == 0) fill->baseMode = FILL_KEEP;
    const int bits = std::bit_width(unsigned(perspectiveStep));
    fill->blockShift = bits < 6 ? bits : 6;
    if (fill->layerCount == 2) return rowFor<2, false, TEXTURE_PIXEL_GENERAL>(depth);
    const TextureLayer& layer = fill->layer[0];
    if (fill->baseMode == FILL_COPY && layer.mode == FILL_ADD && layer.strength >= 0 && layer.strength <= 256)
        return layer.bilinear ? rowFor<1, true, TEXTURE_PIXEL_COLOUR_ADD>(depth)
                              : rowFor<1, false, TEXTURE_PIXEL_COLOUR_ADD>(depth);
    if (fill->baseMode == FILL_COPY && layer.mode == FILL_ADD && layer.strength < 0 && layer.strength >= -256)
        return layer.bilinear ? rowFor<1, true, TEXTURE_PIXEL_COLOUR_SUBTRACT>(depth)
                              : rowFor<1, false, TEXTURE_PIXEL_COLOUR_SUBTRACT>(depth);
    return layer.bilinear ? rowFor<1, true, TEXTURE_PIXEL_GENERAL>(depth)
                          : rowFor<1, false, TEXTURE_PIXEL_GENERAL>(depth);
}
