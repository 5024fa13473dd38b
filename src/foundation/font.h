// The program's text font. MIRQ_IFont is the host's font interface; dpiAwareFont is a cache of
// host font objects that keeps text the same size on the screen at any scale of the bitmap it
// is drawn on. The room view and the dialog draw all their labels with labelFont().
#pragma once

#include <cstdint>
#include <utility>

#include "foundation/bitmap.h"
#include "foundation/grow_buffer.h"
#include "platform/platform.h"

// A rectangle in logical pixels, laid out as a Win32 RECT.
struct TextRect {
    int32_t left, top, right, bottom;
};

// Layout flags of drawText: those of Win32 DrawText.
enum : int {
    MIRQ_DT_CENTER = 0x1,
    MIRQ_DT_RIGHT = 0x2,
    MIRQ_DT_VCENTER = 0x4,     // with MIRQ_DT_SINGLELINE
    MIRQ_DT_BOTTOM = 0x8,      // with MIRQ_DT_SINGLELINE
    MIRQ_DT_SINGLELINE = 0x20,
    MIRQ_DT_NOCLIP = 0x100,
    MIRQ_DT_CALCRECT = 0x400,  // measure only: the rectangle grows to the text, nothing is drawn
    MIRQ_DT_NOPREFIX = 0x800,  // '&' is a plain character
};

// Back modes of setBackMode: text alone, or text on a box of the back colour.
enum : int { MIRQ_BACK_TRANSPARENT = 1, MIRQ_BACK_OPAQUE = 2 };

// Flags of assignHandle: the first comes with every font the cache hands over, the second with
// a font made for a bitmap whose text scale is not 100 %.
enum : int { MIRQ_FONT_ASSIGN_CACHED = 0x200, MIRQ_FONT_ASSIGN_SCALED = 0x400 };

// A font object. The slots stand in this order for every implementation, the host's included.
// Colours are 0xAARRGGBB. Text is UTF-8. [window thread]
struct MIRQ_IFont {
    virtual void* destroySelf(unsigned flags) = 0;  // slot 0, see MIRQ_DESTROY_FREE
    // Takes a system font (fontCreate) to draw with from now on and frees the one it had.
    virtual void assignHandle(void* font, int flags) = 0;
    // Each setter stores and returns the value it replaces.
    virtual int setTextColor(int colour) = 0;
    virtual int setBackColor(int colour) = 0;
    virtual int setExtraColor(int colour) = 0;
    virtual int setBackMode(int mode) = 0;
    virtual void setCombine(int mode, float alpha) = 0;
    // Draws count bytes of text (all of it up to the NUL when count is negative) in rect, laid
    // out by the MIRQ_DT_ flags. With MIRQ_DT_CALCRECT nothing is drawn and rect is set to the
    // text's extent. Returns the height of the text, 0 when nothing could be laid out.
    virtual int drawText(MIRQ_IBitmap* bitmap, const char* text, int count, TextRect* rect, int dtFlags) = 0;
    virtual int textColor() = 0;
    virtual void* nativeHandle() = 0;  // a system font, or null
    virtual int lineHeight() = 0;      // pixels from one line of text to the next
    virtual void setTextOption(int value) = 0;
    // A new font object of the kind this one draws with; null when none can be had.
    virtual MIRQ_IFont* createFontObject() = 0;

protected:
    ~MIRQ_IFont() = default;  // objects end through slot 0, never by delete on the interface
};

// One entry of the cache: a host font object (owned) and the pixel height of the system font it
// was given; 0 when it has been given none yet.
struct FontSizePair {
    MIRQ_IFont* font;
    int32_t height;
};
constexpr int FONT_SIZE_PAIRS = 4;  // at most this many scales live side by side

// The cache. It keeps text state of its own and hands it to the host font object of the
// wanted height before each drawing; a measurement gets no colours. The last slot is left to a
// derived font. [window thread]
struct __MIRQ_dpiAwareFont : MIRQ_IFont {
    GrowBuffer sizes;                 // FONT_SIZE_PAIRS pairs; the last one is the most recently used
    int (*flagsCallback)(int query);  // null in this program
    int lastFlags;                    // the flags in force when the sizes were filled
    int textColorValue;
    int backColor;
    int extraColor;
    int backMode;
    int combineMode;
    float combineAlpha;
    int textOption;
    FontDescription logFont;  // the font at a scale of 100 %

    // An empty cache for the description; when its pairs cannot be allocated, every drawText
    // returns 0 and lineHeight() 10.
    explicit __MIRQ_dpiAwareFont(const FontDescription& description);
    // Destroys every host font object of the cache.
    ~__MIRQ_dpiAwareFont();
    __MIRQ_dpiAwareFont(const __MIRQ_dpiAwareFont&) = delete;
    __MIRQ_dpiAwareFont& operator=(const __MIRQ_dpiAwareFont&) = delete;

    void assignHandle(void*, int) override {}
    int setTextColor(int colour) override { return std::exchange(textColorValue, colour); }
    int setBackColor(int colour) override { return std::exchange(backColor, colour); }
    int setExtraColor(int colour) override { return std::exchange(extraColor, colour); }
    int setBackMode(int mode) override { return std::exchange(backMode, mode); }
    void setCombine(int mode, float alpha) override {
        combineMode = mode;
        combineAlpha = alpha;
    }
    // Draws with the host font object for the bitmap's text scale (a null bitmap has none) and
    // returns what it returns; 0 when no font object can be had.
    int drawText(MIRQ_IBitmap* bitmap, const char* text, int count, TextRect* rect, int dtFlags) override;
    int textColor() override { return textColorValue; }
    void* nativeHandle() override { return nullptr; }
    // The host font object's line height at 100 %; 10 when no font object can be had.
    int lineHeight() override;
    void setTextOption(int value) override { textOption = value; }
};

// The cache over the host's MIRQ_CreateFont. [window thread]
struct dpiAwareFont final : __MIRQ_dpiAwareFont {
    explicit dpiAwareFont(const FontDescription& description) : __MIRQ_dpiAwareFont(description) {}
    void* destroySelf(unsigned flags) override { return mirqDestroySelf(this, flags); }
    // A new host font object; null when the host lacks MIRQ_CreateFont or makes none.
    MIRQ_IFont* createFontObject() override;
};

// [window thread] The shared label font: made on first use (12 pixels high, weight 400,
// "Arial", transparent back), kept until releaseLabelFont. Null when it cannot be allocated.
MIRQ_IFont* labelFont();
// [window thread] Destroys the shared label font; the next labelFont() makes a new one. Runs
// when the last effect instance goes.
void releaseLabelFont();
