#include "renderer/plain_fillers.h"

#include "renderer/material.h"
#include "renderer/pixel_blend.h"

namespace {

inline int channelOf(uint32_t pixel, int shift) {
    return int((pixel >> shift) & 0xFF);
}

// A smooth run's channel: 8.24 down to 0..256, clamped to a byte unless the run is known to
// stay inside.
template <bool Clamp>
inline int smoothChannel(int value) {
    return Clamp ? clampChannel(value >> SCAN_COLOR_SHIFT) : value >> SCAN_COLOR_SHIFT;
}

// Each mode: source() takes the colour (once for a flat face, at each pixel for a smooth one),
// apply() gives the new pixel from the old one. init() sets what depends on the opacity only.

struct CopyMode {  // normal, full opacity: the colour itself
    static void init(PlainFill&) {}
    static void source(PlainFill& f, int r, int g, int b) {
        f.pixel = 0xFF000000u | uint32_t(r) << 16 | uint32_t(g) << 8 | uint32_t(b);
    }
    static uint32_t apply(const PlainFill& f, uint32_t) { return f.pixel; }
};

struct HalfMode {  // normal, half opacity: (d + s) >> 1 in every byte, alpha against 255
    static void init(PlainFill&) {}
    static void source(PlainFill& f, int r, int g, int b) {
        uint32_t s = 0xFF000000u | uint32_t(r) << 16 | uint32_t(g) << 8 | uint32_t(b);
        f.halfPixel = (s >> 1) & 0x7F7F7F7Fu;
        f.oddBits = s & 0x01010101u;
    }
    static uint32_t apply(const PlainFill& f, uint32_t d) {
        return ((d >> 1) & 0x7F7F7F7Fu) + f.halfPixel + (d & f.oddBits);
    }
};

// Normal mode at an opacity strictly between 0 and 256: s + (d - s) (256 - a) / 256 in every
// byte (alpha against 255), with the division cutting toward zero. That equals
// (s a + d (256 - a)) / 256 rounded down where d >= s and up where d < s; the sum stays below
// 65536, so blue and red, then green and alpha, go through together in 16-bit lanes.
struct MixMode {
    static void init(PlainFill&) {}
    static void source(PlainFill& f, int r, int g, int b) {
        f.pixel = 0xFF000000u | uint32_t(r) << 16 | uint32_t(g) << 8 | uint32_t(b);
    }
    static uint32_t lanes(uint32_t s, uint32_t d, uint32_t a, uint32_t keep) {
        const uint32_t sum = s * a + d * keep;
        const uint32_t roundUp = (((s + 0x00FF00FFu - d) >> 8) & 0x00010001u) * 0xFF;  // where s > d
        return ((sum + roundUp) >> 8) & 0x00FF00FFu;
    }
    static uint32_t apply(const PlainFill& f, uint32_t d) {
        const uint32_t a = uint32_t(f.opacity), keep = 256 - a;
        return lanes(f.pixel & 0x00FF00FFu, d & 0x00FF00FFu, a, keep) |
               lanes((f.pixel >> 8) & 0x00FF00FFu, (d >> 8) & 0x00FF00FFu, a, keep) << 8;
    }
};

// Normal mode at an opacity beyond 0..256: the same rule, the results clamped.
struct WideMixMode {
    static int mix(int s, int d, int keep) { return clampChannel(s + ((d - s) * keep) / 256); }
    static void init(PlainFill&) {}
    static void source(PlainFill& f, int r, int g, int b) { f.source[0] = r, f.source[1] = g, f.source[2] = b; }
    static uint32_t apply(const PlainFill& f, uint32_t d) {
        const int keep = 256 - f.opacity;
        return uint32_t(mix(f.source[2], channelOf(d, 0), keep)) |
               uint32_t(mix(f.source[1], channelOf(d, 8), keep)) << 8 |
               uint32_t(mix(f.source[0], channelOf(d, 16), keep)) << 16 |
               uint32_t(mix(255, channelOf(d, 24), keep)) << 24;
    }
};

// The modes whose every byte follows one rule with one constant per channel.
template <class Rule>
struct ChannelMode {
    static void init(PlainFill& f) { f.alphaChannel = Rule::constant(255, f.opacity); }
    static void source(PlainFill& f, int r, int g, int b) {
        f.channel[0] = Rule::constant(r, f.opacity);
        f.channel[1] = Rule::constant(g, f.opacity);
        f.channel[2] = Rule::constant(b, f.opacity);
    }
    static uint32_t apply(const PlainFill& f, uint32_t d) {
        return uint32_t(clampChannel(Rule::apply(channelOf(d, 0), f.channel[2]))) |
               uint32_t(clampChannel(Rule::apply(channelOf(d, 8), f.channel[1]))) << 8 |
               uint32_t(clampChannel(Rule::apply(channelOf(d, 16), f.channel[0]))) << 16 |
               uint32_t(clampChannel(Rule::apply(channelOf(d, 24), f.alphaChannel))) << 24;
    }
};

struct AddRule {  // d + s a / 256
    static int constant(int s, int a) { return (s * a) / 256; }
    static int apply(int d, int k) { return d + k; }
};
struct DodgeRule {  // d * 256 / (256 - s a / 256), undivided when that is 1 or less
    static int constant(int s, int a) { return 256 - (s * a) / 256; }
    static int apply(int d, int t) { return t > 1 ? (d * 256) / t : d * 256; }
};
struct MultiplyRule {  // d (s a + 65536 - 256 a) >> 16
    static int constant(int s, int a) { return s * a + 65536 - 256 * a; }
    static int apply(int d, int k) { return (d * k) >> 16; }
};
struct OverlayRule {  // d (q + (32768 - q) d / 256) >> 15 with q = s a + 32768 - 128 a
    static int constant(int s, int a) { return s * a + 32768 - 128 * a; }
    static int apply(int d, int q) { return (d * (q + ((32768 - q) * d) / 256)) >> 15; }
};

struct HsvMode {  // hue, saturation and value moved by the colour; the alpha byte stays
    static void init(PlainFill&) {}
    static void source(PlainFill& f, int r, int g, int b) { f.source[0] = r, f.source[1] = g, f.source[2] = b; }
    static uint32_t apply(const PlainFill& f, uint32_t d) {
        int r = channelOf(d, 16), g = channelOf(d, 8), b = channelOf(d, 0);
        hsvAdjust(r, g, b, f.source[0], f.source[1], f.source[2], f.opacity);
        return (d & 0xFF000000u) | uint32_t(clampChannel(r)) << 16 | uint32_t(clampChannel(g)) << 8 |
               uint32_t(clampChannel(b));
    }
};

template <class Mode, bool Smooth, DepthUse Depth, bool Clamp>
FILLER_INLINE void plainRun(const ScanRun& run, const ScanValues& step, const void* context) {
    PlainFill f = *static_cast<const PlainFill*>(context);
    uint32_t* pixels = run.pixels;
    float* depth = run.depth;
    double invZ = run.start.invZ;
    int r = run.start.color[0], g = run.start.color[1], b = run.start.color[2];
    for (int i = 0; i < run.count; i++) {
        const bool draw = depthPasses<Depth>(depth, i, invZ);
        if constexpr (Depth != DEPTH_NONE) invZ += step.invZ;
        if (draw) {
            if constexpr (Smooth)
                Mode::source(f, smoothChannel<Clamp>(r), smoothChannel<Clamp>(g), smoothChannel<Clamp>(b));
            pixels[i] = Mode::apply(f, pixels[i]);
        }
        if constexpr (Smooth) {
            r = wrapAdd(r, step.color[0]);
            g = wrapAdd(g, step.color[1]);
            b = wrapAdd(b, step.color[2]);
        }
    }
}

template <class Mode, bool Smooth, DepthUse Depth>
void plainRow(const ScanRun& run, const ScanValues& step, const void* context) {
    if (Smooth) {
        ScanRun settled = run;
        ScanValues settledStep = step;
        if (settleColour(settled, settledStep))
            return plainRun<Mode, Smooth, Depth, false>(settled, settledStep, context);
    }
    plainRun<Mode, Smooth, Depth, true>(run, step, context);
}

template <class Mode>
RowFiller prepareMode(PlainFill* fill, bool smooth, const int flat[3], DepthUse depth) {
    Mode::init(*fill);
    if (!smooth) Mode::source(*fill, flat[0], flat[1], flat[2]);
    static constexpr RowFiller rows[2][3] = {
        {plainRow<Mode, false, DEPTH_NONE>, plainRow<Mode, false, DEPTH_TEST>, plainRow<Mode, false, DEPTH_TEST_WRITE>},
        {plainRow<Mode, true, DEPTH_NONE>, plainRow<Mode, true, DEPTH_TEST>, plainRow<Mode, true, DEPTH_TEST_WRITE>},
    };
    return rows[smooth ? 1 : 0][depth];
}

}  // namespace

RowFiller preparePlainFill(PlainFill* fill, int mode, int opacity, bool smooth, const int flat[3], DepthUse depth) {
    if (opacity == 0) return nullptr;
    *fill = PlainFill{};
    fill->opacity = opacity;
    switch (mode) {
    case FILL_NORMAL:
        if (opacity == 256) return prepareMode<CopyMode>(fill, smooth, flat, depth);
        if (opacity == 128) return prepareMode<HalfMode>(fill, smooth, flat, depth);
        if (opacity > 0 && opacity < 256) return prepareMode<MixMode>(fill, smooth, flat, depth);
        return prepareMode<WideMixMode>(fill, smooth, flat, depth);
    case FILL_ADD:
        return prepareMode<ChannelMode<AddRule>>(fill, smooth, flat, depth);
    case FILL_DODGE:
        return prepareMode<ChannelMode<DodgeRule>>(fill, smooth, flat, depth);
    case FILL_MULTIPLY:
        return prepareMode<ChannelMode<MultiplyRule>>(fill, smooth, flat, depth);
    case FILL_OVERLAY:
        return prepareMode<ChannelMode<OverlayRule>>(fill, smooth, flat, depth);
    case FILL_HSV:
        return prepareMode<HsvMode>(fill, smooth, flat, depth);
    default:
        return nullptr;
    }
}
