#include "foundation/bitmap.h"

#include <cstddef>

int bitmapScale(MIRQ_IBitmap* bitmap) {
    return bitmap ? bitmap->extended(MIRQ_EXT_GET_SCALE, nullptr) : 0;
}

MIRQ_SubBitmap::MIRQ_SubBitmap(MIRQ_IBitmap* parentBitmap, int left, int top, int w, int h)
    : viewWidth(0), viewHeight(0), x(left < 0 ? 0 : left), y(top < 0 ? 0 : top), parent(parentBitmap) {
    resize(w, h);
}

uint32_t* MIRQ_SubBitmap::pixels() {
    if (!parent) return nullptr;
    uint32_t* base = parent->pixels();
    if (!base) return nullptr;
    // A scaled parent stores more pixels than it reports: the offsets and the height follow.
    int left = x, top = y, rows = viewHeight;
    int scale = bitmapScale(parent);
    if (scale > 0) {
        left = (left * scale) >> 8;
        top = (top * scale) >> 8;
        rows = (rows * scale) >> 8;
    }
    // A bottom-up parent keeps our last row first in memory.
    int row = parent->flipped() ? parent->height() - (top + rows) : top;
    return base + ptrdiff_t(row) * parent->rowSpan() + left;
}

int MIRQ_SubBitmap::rowSpan() {
    return parent ? parent->rowSpan() : 0;
}

bool MIRQ_SubBitmap::flipped() {
    return parent ? parent->flipped() : false;
}

bool MIRQ_SubBitmap::resize(int w, int h) {
    viewWidth = 0;
    viewHeight = 0;
    if (!parent || w < 0 || h < 0 || x < 0 || y < 0) return true;
    int parentWidth = parent->width(), parentHeight = parent->height();
    if (x >= parentWidth || y >= parentHeight) return true;
    viewWidth = w < parentWidth - x ? w : parentWidth - x;
    viewHeight = h < parentHeight - y ? h : parentHeight - y;
    return true;
}

int MIRQ_SubBitmap::extended(int id, void* data) {
    if (id == MIRQ_EXT_SUB_BITMAP) return MIRQ_SUB_BITMAP_ANSWER;
    return parent ? parent->extended(id, data) : 0;
}
