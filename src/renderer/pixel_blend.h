// The integer arithmetic with which the face fillers combine a colour or a texture sample with
// the pixels beneath: channel clamping, the HSV adjustment and the texture blend modes. Channels
// are 0..255 with 256 standing for full strength; intermediate values may leave that range.
// Used by the plain and the texture fillers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "renderer/material.h"
#include "renderer/scan.h"

constexpr std::array<uint16_t, 256> makeReciprocals() {
    std::array<uint16_t, 256> table{};
    for (int i = 1; i < 256; i++) table[size_t(i)] = uint16_t(65536 / i - 1);
    return table;
}
// 65536 / i - 1, and 0 for 0: the divisions of the HSV adjustment as products.
inline constexpr std::array<uint16_t, 256> RECIPROCALS = makeReciprocals();

inline int clampChannel(int v) {
    return v < 0 ? 0 : v > 255 ? 255 : v;
}

inline uint32_t packPixel(int r, int g, int b, int a) {
    return uint32_t(clampChannel(b)) | uint32_t(clampChannel(g)) << 8 | uint32_t(clampChannel(r)) << 16 |
           uint32_t(clampChannel(a)) << 24;
}

// [any thread] Shifts the hue, saturation and value of the pixel (r, g, b) by the source (sr,
// sg, sb) at strength a (0..256); a source of 128 in every channel leaves them where they were.
// Pixel channels outside 0..255 count as clamped.
void hsvAdjust(int& r, int& g, int& b, int sr, int sg, int sb, int a);

// Texture blend modes are FILL_ 0..5, alone or with TEXTURE_ALPHA_STRENGTH. The fillers' own
// modes: keep the destination, or copy the source (as every unknown mode does).
constexpr int FILL_KEEP = -2;
constexpr int FILL_COPY = -1;

// Channel values stay far inside int even when blend stages stack up without clamping.
constexpr int64_t BLEND_CHANNEL_LIMIT = int64_t(1) << 30;
FILLER_INLINE int narrowChannel(int64_t v) {
    return int(v < -BLEND_CHANNEL_LIMIT ? -BLEND_CHANNEL_LIMIT : v > BLEND_CHANNEL_LIMIT ? BLEND_CHANNEL_LIMIT : v);
}

FILLER_INLINE void blendChannel(int mode, int64_t s, int& channel, int64_t alpha, int64_t invAlpha) {
    int64_t d = channel;
    switch (mode) {
    case FILL_NORMAL:
        d = (s * alpha + d * invAlpha) >> 8;
        break;
    case FILL_ADD:
        d += (s * alpha) >> 8;
        break;
    case FILL_DODGE: {
        int64_t t = 256 - (s * alpha) / 256;
        d *= 256;
        if (t > 1) d /= t;
        break;
    }
    case FILL_MULTIPLY:
        d = (((s - 256) * alpha + 65536) * d) / 65536;
        break;
    case FILL_OVERLAY: {
        int64_t q = (s - 128) * alpha + 32768;
        d = ((q + ((32768 - q) * d) / 256) * d) / 32768;
        break;
    }
    }
    channel = narrowChannel(d);
}

// [any thread] Combines the source pixel (r, g, b, a) with the destination channels at strength
// alpha (0..256; invAlpha = 256 - alpha). The results are not clamped: the caller clamps.
FILLER_INLINE void blendPixel(int mode, int r, int g, int b, int a, int& dr, int& dg, int& db, int& da, int alpha,
                              int invAlpha) {
    if (mode > 0xFF) {  // the texture's alpha weighs the strength
        switch (mode) {
        case TEXTURE_ALPHA_STRENGTH | FILL_NORMAL: {
            const int64_t w = int64_t(alpha) * (a + 1);
            auto mix = [w](int64_t s, int& d) { d = narrowChannel((s * w + d * (65536 - w)) >> 16); };
            mix(r, dr), mix(g, dg), mix(b, db), mix(a, da);
            return;
        }
        case TEXTURE_ALPHA_STRENGTH | FILL_ADD: {
            const int64_t w = int64_t(a) * alpha + alpha;
            auto add = [w](int64_t s, int& d) { d = narrowChannel(d + ((s * w) >> 16)); };
            add(r, dr), add(g, dg), add(b, db), add(a, da);
            return;
        }
        case TEXTURE_ALPHA_STRENGTH | FILL_DODGE:
        case TEXTURE_ALPHA_STRENGTH | FILL_MULTIPLY:
        case TEXTURE_ALPHA_STRENGTH | FILL_OVERLAY:
        case TEXTURE_ALPHA_STRENGTH | FILL_HSV:
            alpha = (a * alpha + alpha) / 256;
            invAlpha = 256 - alpha;
            mode &= 0xFF;
            break;
        default:
            mode = FILL_COPY;
            break;
        }
    }
    switch (mode) {
    case FILL_NORMAL:
    case FILL_ADD:
    case FILL_DODGE:
    case FILL_MULTIPLY:
    case FILL_OVERLAY:
        blendChannel(mode, r, dr, alpha, invAlpha);
        blendChannel(mode, g, dg, alpha, invAlpha);
        blendChannel(mode, b, db, alpha, invAlpha);
        blendChannel(mode, a, da, alpha, invAlpha);
        return;
    case FILL_HSV:
        hsvAdjust(dr, dg, db, r, g, b, alpha);
        return;
    case FILL_KEEP:
        return;
    default:
        dr = r, dg = g, db = b, da = a;
        return;
    }
}
