// The drawing services of the host: the bitmaps of MIRQ_CreateBitmap and the font objects of
// MIRQ_CreateFont. The service table offers them to the plugin by name, for the reference host
// and the adapter alike; the test scene of kelvane-host draws with them too.
#pragma once

#include <cstdint>
#include <utility>

#include "foundation/bitmap.h"
#include "foundation/font.h"

// Bitmap kinds of MIRQ_CreateBitmap. Both are memory bitmaps with top-down rows; on Windows a
// system bitmap also has a device context (a DIB section selected into a memory DC).
enum : int { HOST_BITMAP_MEMORY = 0, HOST_BITMAP_SYSTEM = 1 };

// The highest scale a bitmap takes: four stored pixels per logical pixel.
constexpr int HOST_BITMAP_MAX_SCALE = 1024;
// The largest side of a bitmap, logical or stored.
constexpr int HOST_BITMAP_MAX_SIDE = 16384;

// A bitmap of the host. A scale (MIRQ_EXT_SET_SCALE) makes it store (w * scale) >> 8 by
// (h * scale) >> 8 pixels while it reports w by h; 0 is none. The advised scale is only kept and
// reported. Text is drawn at the scale, or at the advised scale when there is none.
// [window thread]
struct HostBitmap final : MIRQ_IBitmap {
    int kind;
    int logicalWidth, logicalHeight;
    int scale;
    int advisedScale;
    int storedWidth, storedHeight;
    uint32_t* bits;      // storedWidth * storedHeight pixels, zero at the start; null when empty
    void* systemBitmap;  // Windows, HOST_BITMAP_SYSTEM: the DIB section and its DC
    void* systemDc;
    void* previousObject;

    HostBitmap(int kind);
    ~HostBitmap();
    HostBitmap(const HostBitmap&) = delete;
    HostBitmap& operator=(const HostBitmap&) = delete;

    void* destroySelf(unsigned flags) override { return mirqDestroySelf(this, flags); }
    uint32_t* pixels() override { return bits; }
    int width() override { return logicalWidth; }
    int height() override { return logicalHeight; }
    int rowSpan() override { return storedWidth; }
    bool flipped() override { return false; }
    // New pixels, all zero, for a logical size at the present scale. False for a negative or too
    // large size or when memory runs out; the bitmap is then unchanged.
    bool resize(int w, int h) override;
    void* deviceContext() override { return systemDc; }
    // The scale calls: a set call answers 1 when it took the value (0..HOST_BITMAP_MAX_SCALE)
    // and 0 when not; a scale other than the present one gives new, zero pixels. Queries answer
    // the value. Other ids: 0.
    int extended(int id, void* data) override;
};

// [window thread] MIRQ_CreateBitmap: a new bitmap of a kind above, w by h logical pixels at no
// scale. Null for another kind, a bad size or no memory.
MIRQ_IBitmap* hostCreateBitmap(int kind, int w, int h);

struct FontFace;

// A font object of the host. It draws with the system font it was last handed, and nothing
// before it has one. Text takes the text colour, weighted by the glyphs' coverage and the
// combine alpha; combine mode 1 adds it, any other mode blends it. Back mode
// MIRQ_BACK_OPAQUE fills the text rectangle with the back colour first. The extra colour and
// the text option are kept but change nothing. Rectangles are in the bitmap's logical pixels;
// a scaled bitmap gets its text in stored pixels, with the font it was handed (the cache hands
// one of the scaled height). [window thread]
struct HostFont final : MIRQ_IFont {
    void* systemFont;  // owned
    FontFace* face;    // the system font opened for drawing; null when it cannot be opened
    int assignFlags;   // the flags of the last assignHandle
    int textColorValue;
    int backColor;
    int extraColor;
    int backMode;
    int combineMode;
    float combineAlpha;
    int textOption;

    HostFont();
    ~HostFont();
    HostFont(const HostFont&) = delete;
    HostFont& operator=(const HostFont&) = delete;

    void* destroySelf(unsigned flags) override { return mirqDestroySelf(this, flags); }
    void assignHandle(void* font, int flags) override;
    int setTextColor(int colour) override { return std::exchange(textColorValue, colour); }
    int setBackColor(int colour) override { return std::exchange(backColor, colour); }
    int setExtraColor(int colour) override { return std::exchange(extraColor, colour); }
    int setBackMode(int mode) override { return std::exchange(backMode, mode); }
    void setCombine(int mode, float alpha) override {
        combineMode = mode;
        combineAlpha = alpha;
    }
    // Lines break at '\n' unless MIRQ_DT_SINGLELINE; '&' marks nothing and "&&" is one '&',
    // unless MIRQ_DT_NOPREFIX. Returns the text's height in logical pixels; 0 without a font,
    // text or rectangle, and when drawing, without a bitmap that has pixels.
    int drawText(MIRQ_IBitmap* bitmap, const char* text, int count, TextRect* rect, int dtFlags) override;
    int textColor() override { return textColorValue; }
    void* nativeHandle() override { return systemFont; }
    int lineHeight() override;  // 0 without a font
    void setTextOption(int value) override { textOption = value; }
    MIRQ_IFont* createFontObject() override;  // a new HostFont
};

// [window thread] MIRQ_CreateFont: a new font object with no font; null when out of memory.
MIRQ_IFont* hostCreateFont();
