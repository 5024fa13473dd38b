// The bitmap interface every drawing routine writes through, and the program's own two views of
// pixels: MIRQ_SubBitmap clips drawing to a rectangle of another bitmap without copying, and
// MIRQ_WrapperBitmap describes foreign pixels for the renderer. Used by the renderer, the room
// view, the dialog and the reference host, which makes the real bitmaps.
#pragma once

#include <cstdint>

// Side calls of MIRQ_IBitmap::extended. A scale of 256 is 100 %. Queries answer in the result
// and ignore data; the set calls read the int that data points at.
enum : int {
    MIRQ_EXT_SET_SCALE = 0x2000,          // set the bitmap's scale
    MIRQ_EXT_GET_SCALE = 0x2001,          // the bitmap's scale; 0: logical and stored pixels are the same
    MIRQ_EXT_SET_ADVISED_SCALE = 0x2002,  // set the advised scale
    MIRQ_EXT_GET_ADVISED_SCALE = 0x2003,  // the advised scale
    MIRQ_EXT_GET_TEXT_SCALE = 0x2004,     // the scale that text on this bitmap is drawn at
    MIRQ_EXT_SUB_BITMAP = 0x51B7000,      // a sub-bitmap answers MIRQ_SUB_BITMAP_ANSWER itself
};
constexpr int MIRQ_SUB_BITMAP_ANSWER = 0x1000;
constexpr int MIRQ_SCALE_ONE = 256;

// Bits of the mode argument of the host's drawing functions. Without MIRQ_MODE_ADD a colour is
// blended over what lies below; with it, added. MIRQ_MODE_FILTER samples a blit's source
// bilinearly, MIRQ_MODE_SOURCE_ALPHA blends it by its own (premultiplied) alpha.
enum : int {
    MIRQ_MODE_ADD = 0x1,
    MIRQ_MODE_FILTER = 0x100,
    MIRQ_MODE_SOURCE_ALPHA = 0x10000,
};

// Slot 0 of the bitmap and font interfaces ends the object: it runs the object's destructor and,
// with MIRQ_DESTROY_FREE in flags, frees its memory. It is one slot, as the deleting destructor
// of the host's compiler has it, and not a virtual destructor, which this compiler lays out as
// two slots and which would shift every later slot against the objects the host makes.
constexpr unsigned MIRQ_DESTROY_FREE = 1;

// [window thread] Ends an object made with new through its slot 0; null does nothing.
template <class T>
inline void mirqDestroy(T* object) {
    if (object) object->destroySelf(MIRQ_DESTROY_FREE);
}
// The slot-0 body of an implementation: deletes or only destroys self. Null once freed.
template <class T>
inline void* mirqDestroySelf(T* self, unsigned flags) {
    if (flags & MIRQ_DESTROY_FREE) {
        delete self;
        return nullptr;
    }
    self->~T();
    return self;
}

// 32-bit pixels, 0xAARRGGBB: bytes blue, green, red, alpha in memory. The slots stand in this
// order for every implementation, the host's included. [window thread]
struct MIRQ_IBitmap {
    virtual void* destroySelf(unsigned flags) = 0;  // slot 0, see MIRQ_DESTROY_FREE
    // The first pixel in memory: the top row, or the bottom row when flipped(). Null when the
    // bitmap has no pixels.
    virtual uint32_t* pixels() = 0;
    virtual int width() = 0;   // logical pixels
    virtual int height() = 0;  // logical pixels
    virtual int rowSpan() = 0; // distance between rows in memory, in pixels
    virtual bool flipped() = 0;
    virtual bool resize(int w, int h) = 0;
    virtual void* deviceContext() = 0;  // a Win32 device context, or null
    virtual int extended(int id, void* data) = 0;

protected:
    ~MIRQ_IBitmap() = default;  // objects end through slot 0, never by delete on the interface
};

// [window thread] The bitmap's scale (MIRQ_EXT_GET_SCALE); 0 for null.
int bitmapScale(MIRQ_IBitmap* bitmap);

// A rectangle of a parent bitmap, in the parent's logical pixels; it owns nothing. Made as a
// local object around a piece of drawing. A view that misses the parent is empty (0 by 0),
// which every drawing routine takes as a target with nothing to do. [window thread]
struct MIRQ_SubBitmap final : MIRQ_IBitmap {
    int viewWidth;   // clipped to the parent
    int viewHeight;  // clipped to the parent
    int x;           // left edge in the parent
    int y;           // top edge in the parent
    MIRQ_IBitmap* parent;  // may be null

    // Negative x and y count as 0; then resize(w, h).
    MIRQ_SubBitmap(MIRQ_IBitmap* parent, int x, int y, int w, int h);

    void* destroySelf(unsigned flags) override { return mirqDestroySelf(this, flags); }
    // Null without a parent or when the parent has no pixels.
    uint32_t* pixels() override;
    int width() override { return viewWidth; }
    int height() override { return viewHeight; }
    int rowSpan() override;     // the parent's; 0 without one
    bool flipped() override;    // the parent's; false without one
    // Clips w by h at (x, y) to the parent; any bad argument leaves the view empty. Always true.
    bool resize(int w, int h) override;
    // Null, so that no drawing takes a system path around the clip.
    void* deviceContext() override { return nullptr; }
    // MIRQ_EXT_SUB_BITMAP answers MIRQ_SUB_BITMAP_ANSWER; the rest goes to the parent (0 without).
    int extended(int id, void* data) override;
};

// Foreign pixels described field by field; stored pixels only, so it reports no scale. It owns
// nothing, cannot resize, has no device context and answers 0 to every side call. [window thread]
struct MIRQ_WrapperBitmap final : MIRQ_IBitmap {
    uint32_t* bits = nullptr;
    int bitsWidth = 0;
    int bitsHeight = 0;
    int bitsSpan = 0;  // pixels
    uint8_t bitsFlipped = 0;

    void* destroySelf(unsigned flags) override { return mirqDestroySelf(this, flags); }
    uint32_t* pixels() override { return bits; }
    int width() override { return bitsWidth; }
    int height() override { return bitsHeight; }
    int rowSpan() override { return bitsSpan; }
    bool flipped() override { return bitsFlipped != 0; }
    bool resize(int, int) override { return false; }
    void* deviceContext() override { return nullptr; }
    int extended(int, void*) override { return 0; }
};
