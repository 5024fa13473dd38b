#include "renderer/pixel_blend.h"

#include <algorithm>

void hsvAdjust(int& r, int& g, int& b, int sr, int sg, int sb, int a) {
    const int red = clampChannel(r), green = clampChannel(g), blue = clampChannel(b);

    // Hue on a circle of 384: red at 0, green at 128, blue at 256.
    int max, delta, diff, base;
    if (green > red && green > blue) {
        max = green, delta = green - std::min(red, blue), diff = blue - red, base = 128;
    } else if (green > red || blue >= red) {
        max = blue, delta = blue - std::min(red, green), diff = red - green, base = 256;
    } else if (green < blue) {
        max = red, delta = red - green, diff = green - blue, base = 383;
    } else {
        max = red, delta = red - blue, diff = green - blue, base = 0;
    }
    int hue = base + (diff + RECIPROCALS[size_t(delta)] * diff) / 1024;
    const int sat16 = RECIPROCALS[size_t(max)] * delta;

    hue += ((sr + sr / 2 - 192) * a) / 256;
    if (hue < 0)
        hue += 384;
    else if (hue >= 384)
        hue -= 384;
    const int sat = clampChannel(((sg - 128) * a) / 256 + sat16 / 256);
    const int val = clampChannel(((sb - 128) * a) / 256 + max);

    const int lo = (val * 256 - sat * val) / 256;
    auto mix = [sat, val](int e) { return (val * 16384 - e * sat * val) / 16384; };
    if (hue < 64)
        r = val, g = mix(64 - hue), b = lo;
    else if (hue < 128)
        r = mix(hue - 64), g = val, b = lo;
    else if (hue < 192)
        r = lo, g = val, b = mix(192 - hue);
    else if (hue < 256)
        r = lo, g = mix(hue - 192), b = val;
    else if (hue < 320)
        r = mix(320 - hue), g = lo, b = val;
    else
        r = val, g = lo, b = mix(hue - 320);
}
