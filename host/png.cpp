// One encoder on every platform, with no compression: deflate's stored blocks. The Windows build
// has no PNG library, and one encoder for both means one code path, tested on Linux against
// libpng as an independent reader, and the same bytes for the same pixels everywhere. The price
// is size (three bytes a pixel and a little), which test pictures can pay.
#include "host/png.h"

#include <array>
#include <cstring>

namespace {

constexpr std::array<uint32_t, 256> makeCrcTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t n = 0; n < 256; n++) {
        uint32_t c = n;
        for (int k = 0; k < 8; k++) c = c & 1 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        table[n] = c;
    }
    return table;
}
constexpr std::array<uint32_t, 256> CRC_TABLE = makeCrcTable();

uint32_t crc32(const unsigned char* bytes, size_t count, uint32_t crc = 0) {
    crc = ~crc;
    for (size_t i = 0; i < count; i++) crc = CRC_TABLE[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

void putBigEndian(std::vector<unsigned char>& out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back((unsigned char)(value >> shift));
}

// A chunk: length, type, data, and the CRC of type and data.
void putChunk(std::vector<unsigned char>& out, const char type[4], const unsigned char* data, size_t count) {
    putBigEndian(out, uint32_t(count));
    size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data, data + count);
    putBigEndian(out, crc32(out.data() + start, count + 4));
}

// A zlib stream of stored deflate blocks (at most 65535 bytes each) and the Adler-32 of the data.
std::vector<unsigned char> zlibStored(const std::vector<unsigned char>& data) {
    std::vector<unsigned char> out = {0x78, 0x01};
    size_t at = 0;
    do {
        size_t n = data.size() - at < 65535 ? data.size() - at : 65535;
        bool last = at + n == data.size();
        out.push_back(last ? 1 : 0);
        out.push_back((unsigned char)(n & 0xFF));
        out.push_back((unsigned char)(n >> 8));
        out.push_back((unsigned char)(~n & 0xFF));
        out.push_back((unsigned char)((~n >> 8) & 0xFF));
        out.insert(out.end(), data.begin() + ptrdiff_t(at), data.begin() + ptrdiff_t(at + n));
        at += n;
    } while (at < data.size());
    uint32_t a = 1, b = 0;
    for (unsigned char byte : data) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    putBigEndian(out, (b << 16) | a);
    return out;
}

}  // namespace

std::vector<unsigned char> pngEncode(const uint32_t* pixels, int width, int height, int span, bool flipped) {
    if (!pixels || width < 1 || height < 1 || width > 65535 || height > 65535 || span < width) return {};
    size_t rowBytes = 1 + size_t(width) * 3;
    if (rowBytes * size_t(height) > PNG_MAX_RAW_BYTES) return {};
    // Rows with filter type 0 (none) in front, then red, green, blue of each pixel.
    std::vector<unsigned char> raw;
    raw.resize(rowBytes * size_t(height));
    unsigned char* at = raw.data();
    for (int y = 0; y < height; y++) {
        const uint32_t* row = pixels + ptrdiff_t(flipped ? height - 1 - y : y) * span;
        *at++ = 0;
        for (int x = 0; x < width; x++) {
            *at++ = (unsigned char)(row[x] >> 16);
            *at++ = (unsigned char)(row[x] >> 8);
            *at++ = (unsigned char)row[x];
        }
    }
    std::vector<unsigned char> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<unsigned char> header;
    putBigEndian(header, uint32_t(width));
    putBigEndian(header, uint32_t(height));
    header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB, deflate, adaptive filters, no interlace
    putChunk(png, "IHDR", header.data(), header.size());
    std::vector<unsigned char> compressed = zlibStored(raw);
    putChunk(png, "IDAT", compressed.data(), compressed.size());
    putChunk(png, "IEND", nullptr, 0);
    return png;
}

std::vector<unsigned char> pngEncodeBitmap(MIRQ_IBitmap* bitmap) {
    if (!bitmap) return {};
    int scale = bitmapScale(bitmap);
    int w = bitmap->width(), h = bitmap->height();
    if (scale > 0) {
        w = int((int64_t(w) * scale) >> 8);
        h = int((int64_t(h) * scale) >> 8);
    }
    return pngEncode(bitmap->pixels(), w, h, bitmap->rowSpan(), bitmap->flipped());
}
