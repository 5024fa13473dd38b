#include "hostservices/drawing.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "hostservices/font_face.h"

#if defined(_WIN32)
#include "platform/dib_win32.h"
#endif

// ---- bitmaps ----

HostBitmap::HostBitmap(int bitmapKind)
    : kind(bitmapKind), logicalWidth(0), logicalHeight(0), scale(0), advisedScale(0), storedWidth(0),
      storedHeight(0), bits(nullptr), systemBitmap(nullptr), systemDc(nullptr), previousObject(nullptr) {}

static void releasePixels(HostBitmap* b) {
#if defined(_WIN32)
    if (b->systemDc) {
        SelectObject(static_cast<HDC>(b->systemDc), static_cast<HGDIOBJ>(b->previousObject));
        DeleteDC(static_cast<HDC>(b->systemDc));
    }
    if (b->systemBitmap) {
        DeleteObject(static_cast<HBITMAP>(b->systemBitmap));
        b->bits = nullptr;  // the DIB section's own
    }
#endif
    std::free(b->bits);
    b->bits = nullptr;
    b->systemBitmap = b->systemDc = b->previousObject = nullptr;
}

HostBitmap::~HostBitmap() { releasePixels(this); }

static int storedSide(int side, int scale) { return scale > 0 ? int((int64_t(side) * scale) >> 8) : side; }

// New zero pixels for a logical size at a scale; the old ones go only when the new are there.
static bool allocatePixels(HostBitmap* b, int w, int h, int scale) {
    if (w < 0 || h < 0 || w > HOST_BITMAP_MAX_SIDE || h > HOST_BITMAP_MAX_SIDE) return false;
    int sw = storedSide(w, scale), sh = storedSide(h, scale);
    if (sw > HOST_BITMAP_MAX_SIDE || sh > HOST_BITMAP_MAX_SIDE) return false;
    uint32_t* bits = nullptr;
    void *dib = nullptr, *dc = nullptr, *previous = nullptr;
    if (sw > 0 && sh > 0) {
#if defined(_WIN32)
        if (b->kind == HOST_BITMAP_SYSTEM) {
            BITMAPINFO info = dibInfo32(sw, sh);  // top-down rows
            void* dibBits = nullptr;
            dib = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &dibBits, nullptr, 0);
            dc = dib ? CreateCompatibleDC(nullptr) : nullptr;
            if (!dib || !dibBits || !dc) {
                if (dc) DeleteDC(static_cast<HDC>(dc));
                if (dib) DeleteObject(static_cast<HBITMAP>(dib));
                return false;
            }
            previous = SelectObject(static_cast<HDC>(dc), static_cast<HBITMAP>(dib));
            bits = static_cast<uint32_t*>(dibBits);
            std::memset(bits, 0, size_t(sw) * size_t(sh) * 4);
        } else
#endif
        {
            bits = static_cast<uint32_t*>(std::calloc(size_t(sw) * size_t(sh), 4));
            if (!bits) return false;
        }
    }
    releasePixels(b);
    b->bits = bits;
    b->systemBitmap = dib;
    b->systemDc = dc;
    b->previousObject = previous;
    b->logicalWidth = w;
    b->logicalHeight = h;
    b->scale = scale;
    b->storedWidth = bits ? sw : 0;
    b->storedHeight = bits ? sh : 0;
    return true;
}

bool HostBitmap::resize(int w, int h) { return allocatePixels(this, w, h, scale); }

// The scale a set call carries, or -1 when it carries none that a bitmap takes.
static int scaleArgument(void* data) {
    const int* value = static_cast<const int*>(data);
    return value && *value >= 0 && *value <= HOST_BITMAP_MAX_SCALE ? *value : -1;
}

int HostBitmap::extended(int id, void* data) {
    switch (id) {
        case MIRQ_EXT_SET_SCALE: {
            int value = scaleArgument(data);
            if (value < 0) return 0;
            return value == scale || allocatePixels(this, logicalWidth, logicalHeight, value) ? 1 : 0;
        }
        case MIRQ_EXT_GET_SCALE: return scale;
        case MIRQ_EXT_SET_ADVISED_SCALE: {
            int value = scaleArgument(data);
            if (value < 0) return 0;
            advisedScale = value;
            return 1;
        }
        case MIRQ_EXT_GET_ADVISED_SCALE: return advisedScale;
        case MIRQ_EXT_GET_TEXT_SCALE: return scale ? scale : advisedScale;
        default: return 0;
    }
}

MIRQ_IBitmap* hostCreateBitmap(int kind, int w, int h) {
    if (kind != HOST_BITMAP_MEMORY && kind != HOST_BITMAP_SYSTEM) return nullptr;
    HostBitmap* b = new (std::nothrow) HostBitmap(kind);
    if (b && !b->resize(w, h)) {
        delete b;
        return nullptr;
    }
    return b;
}

// ---- fonts ----

HostFont::HostFont()
    : systemFont(nullptr), face(nullptr), assignFlags(0), textColorValue(0), backColor(0), extraColor(0),
      backMode(MIRQ_BACK_TRANSPARENT), combineMode(0), combineAlpha(1.0f), textOption(0) {}

HostFont::~HostFont() {
    fontFaceClose(face);
    fontDestroy(systemFont);
}

void HostFont::assignHandle(void* font, int flags) {
    fontFaceClose(face);
    fontDestroy(systemFont);
    systemFont = font;
    assignFlags = flags;
    face = fontFaceOpen(font);
}

int HostFont::lineHeight() { return face ? fontFaceLineHeight(face) : 0; }

MIRQ_IFont* HostFont::createFontObject() { return hostCreateFont(); }

namespace {

struct PixelBox {
    int left, top, right, bottom;
    bool empty() const { return right <= left || bottom <= top; }
};

PixelBox intersect(PixelBox a, PixelBox b) {
    return {a.left > b.left ? a.left : b.left, a.top > b.top ? a.top : b.top, a.right < b.right ? a.right : b.right,
            a.bottom < b.bottom ? a.bottom : b.bottom};
}

// Stored pixels from logical ones, and back, rounding up.
int toStored(int v, int scale) { return int((int64_t(v) * scale) >> 8); }
int toLogical(int v, int scale) { return int((int64_t(v) * 256 + scale - 1) / scale); }

// The stored pixel at (x, y), counted from the top of the picture.
uint32_t* pixelAt(MIRQ_IBitmap* b, int storedHeight, int x, int y) {
    int row = b->flipped() ? storedHeight - 1 - y : y;
    return b->pixels() + ptrdiff_t(row) * b->rowSpan() + x;
}

// Source over destination with a weight of 0..256, the alpha byte going toward opaque; or
// added, when add is set.
uint32_t combine(uint32_t d, uint32_t s, int weight, bool add) {
    uint32_t out = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        int dc = int((d >> shift) & 0xFF), sc = shift == 24 ? 255 : int((s >> shift) & 0xFF);
        int v = add ? dc + ((sc * weight) >> 8) : (sc * weight + dc * (256 - weight)) >> 8;
        out |= uint32_t(v > 255 ? 255 : v) << shift;
    }
    return out;
}

}  // namespace

int HostFont::drawText(MIRQ_IBitmap* bitmap, const char* text, int count, TextRect* rect, int dtFlags) {
    if (!face || !text || !rect) return 0;
    if (count < 0) count = int(std::strlen(text));
    int scale = bitmap ? bitmapScale(bitmap) : 0;
    if (scale <= 0) scale = MIRQ_SCALE_ONE;

    if (dtFlags & MIRQ_DT_CALCRECT) {
        int w = 0, h = 0;
        fontFaceMeasure(face, text, count, dtFlags, &w, &h);
        rect->right = rect->left + toLogical(w, scale);
        rect->bottom = rect->top + toLogical(h, scale);
        return toLogical(h, scale);
    }
    if (!bitmap || !bitmap->pixels()) return 0;

    int storedWidth = toStored(bitmap->width(), scale), storedHeight = toStored(bitmap->height(), scale);
    TextRect box = {toStored(rect->left, scale), toStored(rect->top, scale), toStored(rect->right, scale),
                    toStored(rect->bottom, scale)};
    PixelBox whole = {0, 0, storedWidth, storedHeight};
    PixelBox inRect = intersect(whole, {box.left, box.top, box.right, box.bottom});
    PixelBox clip = inRect;
    if (dtFlags & MIRQ_DT_NOCLIP) {
        // Unclipped text stays within its own size of the rectangle, whatever the alignment:
        // the mask need not cover the whole bitmap.
        int w = 0, h = 0;
        fontFaceMeasure(face, text, count, dtFlags, &w, &h);
        clip = intersect(whole, {box.left - w - 2, box.top - h - 2, box.right + w + 2, box.bottom + h + 2});
    }

    if (backMode == MIRQ_BACK_OPAQUE)
        for (int y = inRect.top; y < inRect.bottom; y++)
            for (int x = inRect.left; x < inRect.right; x++) *pixelAt(bitmap, storedHeight, x, y) = uint32_t(backColor);

    int height = 0;
    if (!clip.empty()) {
        int w = clip.right - clip.left, h = clip.bottom - clip.top;
        std::vector<uint8_t> mask(size_t(w) * size_t(h), 0);
        TextRect local = {box.left - clip.left, box.top - clip.top, box.right - clip.left, box.bottom - clip.top};
        height = fontFaceRender(face, text, count, dtFlags, local, mask.data(), w, h);
        float alpha = combineAlpha < 0.0f ? 0.0f : combineAlpha > 1.0f ? 1.0f : combineAlpha;
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++) {
                uint8_t coverage = mask[size_t(y) * size_t(w) + size_t(x)];
                if (!coverage) continue;
                int weight = int(float(coverage) * alpha * (256.0f / 255.0f) + 0.5f);
                uint32_t* p = pixelAt(bitmap, storedHeight, clip.left + x, clip.top + y);
                *p = combine(*p, uint32_t(textColorValue), weight, combineMode == 1);
            }
    } else {
        int w = 0;
        fontFaceMeasure(face, text, count, dtFlags, &w, &height);
    }
    return toLogical(height, scale);
}

MIRQ_IFont* hostCreateFont() { return new (std::nothrow) HostFont(); }
