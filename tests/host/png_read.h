// Reads a PNG file back through libpng, the independent decoder, for the tests of the host's
// pictures (Linux only).
#pragma once

#if !defined(_WIN32)
#include <png.h>

#include <cstdint>
#include <cstring>
#include <vector>

struct RgbPicture {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;  // 3 bytes a pixel, rows top to bottom
    const uint8_t* at(int x, int y) const { return &rgb[(size_t(y) * size_t(width) + size_t(x)) * 3]; }
};

// False when libpng rejects the bytes (a bad signature, CRC, Adler-32 or stream).
inline bool readPng(const std::vector<unsigned char>& bytes, RgbPicture* out) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) return false;
    image.format = PNG_FORMAT_RGB;
    out->width = int(image.width);
    out->height = int(image.height);
    out->rgb.assign(PNG_IMAGE_SIZE(image), 0);
    bool ok = png_image_finish_read(&image, nullptr, out->rgb.data(), 0, nullptr) != 0;
    png_image_free(&image);
    return ok;
}
#endif
