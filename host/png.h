// PNG output of 32-bit pixels, for kelvane-host's pictures. One small encoder serves Linux and
// Windows alike: see png.cpp for why.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/bitmap.h"

// The most picture data one file holds: 256 MiB of rows.
constexpr size_t PNG_MAX_RAW_BYTES = size_t(1) << 28;

// [any thread] A PNG file (8-bit RGB; the alpha byte is no part of the picture) of width by
// height pixels 0xAARRGGBB, rows span pixels apart, the top row first or, when flipped, last.
// Empty when a side is below 1 or the rows hold more than PNG_MAX_RAW_BYTES.
std::vector<unsigned char> pngEncode(const uint32_t* pixels, int width, int height, int span, bool flipped);

// [window thread] The PNG of a bitmap's stored pixels; empty when it has none.
std::vector<unsigned char> pngEncodeBitmap(MIRQ_IBitmap* bitmap);
