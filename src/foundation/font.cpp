#include "foundation/font.h"

#include <cstring>
#include <new>

#include "foundation/bitmap.h"
#include "foundation/host_api.h"

__MIRQ_dpiAwareFont::__MIRQ_dpiAwareFont(const FontDescription& description)
    : flagsCallback(nullptr), lastFlags(0), textColorValue(0), backColor(0), extraColor(0),
      backMode(MIRQ_BACK_TRANSPARENT), combineMode(0), combineAlpha(1.0f), textOption(0), logFont(description) {
    growBufferInit(&sizes);
    void* pairs = growBufferResize(&sizes, FONT_SIZE_PAIRS * sizeof(FontSizePair));
    if (pairs) std::memset(pairs, 0, FONT_SIZE_PAIRS * sizeof(FontSizePair));
}

__MIRQ_dpiAwareFont::~__MIRQ_dpiAwareFont() {
    FontSizePair* pairs = growItems<FontSizePair>(sizes);
    for (int i = 0; i < growCount<FontSizePair>(sizes); i++) mirqDestroy(pairs[i].font);
    growBufferFree(&sizes);
}

// The host font object for the text scale of bitmap (null: 100 %), with a system font of the
// wanted height assigned; null when none can be had.
static MIRQ_IFont* chooseFontObject(__MIRQ_dpiAwareFont* f, MIRQ_IBitmap* bitmap) {
    int count = growCount<FontSizePair>(f->sizes);
    if (count < 1) return nullptr;
    FontSizePair* pairs = growItems<FontSizePair>(f->sizes);

    // Other flags make other fonts: the heights are forgotten, the objects stay.
    int flags = f->flagsCallback ? f->flagsCallback(0) & ~4 : 0;
    if (flags != f->lastFlags) {
        f->lastFlags = flags;
        for (int i = count - 1; i >= 0 && pairs[i].height != 0; i--) pairs[i].height = 0;
    }

    int32_t height = f->logFont.height, width = f->logFont.width;
    int scale = bitmap ? bitmap->extended(MIRQ_EXT_GET_TEXT_SCALE, nullptr) : 0;
    if (scale != 0 && scale != MIRQ_SCALE_ONE) {
        flags |= MIRQ_FONT_ASSIGN_SCALED;
        height = int32_t((int64_t(height) * scale) / MIRQ_SCALE_ONE);
        width = int32_t((int64_t(width) * scale) / MIRQ_SCALE_ONE);
    }

    // The most recently used pair that has this height or none yet; else the one that has gone
    // longest without use gives way.
    int chosen = -1;
    for (int i = count - 1; i >= 0 && chosen < 0; i--)
        if (pairs[i].height == height || pairs[i].height == 0) chosen = i;
    if (chosen < 0) {
        chosen = 0;
        pairs[0].height = 0;
    }
    FontSizePair pair = pairs[chosen];
    std::memmove(pairs + chosen, pairs + chosen + 1, size_t(count - 1 - chosen) * sizeof(FontSizePair));
    FontSizePair& last = pairs[count - 1];
    last = pair;

    if (!last.font) last.font = f->createFontObject();
    if (!last.font) return nullptr;
    if (last.height == 0) {
        FontDescription sized = f->logFont;
        sized.height = height;
        sized.width = width;
        // Without a system font the pair stays unsized and is tried again next time.
        if (void* handle = fontCreate(&sized)) {
            last.height = height;
            last.font->assignHandle(handle, flags | MIRQ_FONT_ASSIGN_CACHED);
        }
    }
    return last.font;
}

int __MIRQ_dpiAwareFont::drawText(MIRQ_IBitmap* bitmap, const char* text, int count, TextRect* rect, int dtFlags) {
    MIRQ_IFont* font = chooseFontObject(this, bitmap);
    if (!font) return 0;
    // A measurement leaves the object's colours alone.
    if (!(dtFlags & MIRQ_DT_CALCRECT)) {
        font->setTextColor(textColorValue);
        font->setBackColor(backColor);
        font->setExtraColor(extraColor);
        font->setBackMode(backMode);
        font->setCombine(combineMode, combineAlpha);
        font->setTextOption(textOption);
    }
    return font->drawText(bitmap, text, count, rect, dtFlags);
}

int __MIRQ_dpiAwareFont::lineHeight() {
    // No bitmap, no scale: the line height is always that of the 100 % size.
    MIRQ_IFont* font = chooseFontObject(this, nullptr);
    return font ? font->lineHeight() : 10;
}

MIRQ_IFont* dpiAwareFont::createFontObject() {
    return hostApi.MIRQ_CreateFont ? hostApi.MIRQ_CreateFont() : nullptr;
}

// Process-wide: the one label font of all instances, which share the window thread.
static dpiAwareFont* sharedLabelFont = nullptr;

MIRQ_IFont* labelFont() {
    if (sharedLabelFont) return sharedLabelFont;
    FontDescription description = {};
    description.height = 12;
    description.weight = 400;
    std::strcpy(description.faceName, "Arial");
    sharedLabelFont = new (std::nothrow) dpiAwareFont(description);
    if (sharedLabelFont) sharedLabelFont->setBackMode(MIRQ_BACK_TRANSPARENT);
    return sharedLabelFont;
}

void releaseLabelFont() {
    delete sharedLabelFont;
    sharedLabelFont = nullptr;
}
