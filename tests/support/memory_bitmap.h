// A bitmap in plain memory for tests of everything that draws: logical size, an optional scale
// (then it stores more pixels than it reports), top-down or bottom-up rows, and a span that may
// be wider than a row. pixel(x, y) reads stored pixels with row 0 at the top of the picture.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/bitmap.h"

struct MemoryBitmap : MIRQ_IBitmap {
    int logicalWidth, logicalHeight;
    int scale;  // 0 = none
    int span;
    bool bottomUp;
    std::vector<uint32_t> store;

    MemoryBitmap(int w, int h, int scaleValue = 0, bool flippedRows = false, int extraSpan = 0)
        : logicalWidth(w), logicalHeight(h), scale(scaleValue), span(storedWidth() + extraSpan),
          bottomUp(flippedRows), store(size_t(span) * size_t(storedHeight()), 0u) {}

    virtual ~MemoryBitmap() = default;  // tests derive their own kinds

    int storedWidth() const { return scale > 0 ? (logicalWidth * scale) >> 8 : logicalWidth; }
    int storedHeight() const { return scale > 0 ? (logicalHeight * scale) >> 8 : logicalHeight; }
    uint32_t& pixel(int x, int y) {
        int row = bottomUp ? storedHeight() - 1 - y : y;
        return store[size_t(row) * size_t(span) + size_t(x)];
    }
    void fill(uint32_t colour) { store.assign(store.size(), colour); }

    void* destroySelf(unsigned flags) override { return mirqDestroySelf(this, flags); }
    uint32_t* pixels() override { return store.data(); }
    int width() override { return logicalWidth; }
    int height() override { return logicalHeight; }
    int rowSpan() override { return span; }
    bool flipped() override { return bottomUp; }
    bool resize(int, int) override { return false; }
    void* deviceContext() override { return nullptr; }
    int extended(int id, void*) override { return id == MIRQ_EXT_GET_SCALE ? scale : 0; }
};
