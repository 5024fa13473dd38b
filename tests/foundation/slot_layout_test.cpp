// The bitmap interface must call the objects a host makes with another compiler: slot 0 is one
// entry that ends the object, and the eight operations follow it in order. An object whose table
// is laid out by hand that way stands in for a host's bitmap here.
#include <gtest/gtest.h>

#include <cstdint>

#include "foundation/bitmap.h"

namespace {

struct ForeignBitmap {
    void* const* table;
    uint32_t pixel;
    unsigned destroyedWith;
};

void* foreignDestroy(ForeignBitmap* self, unsigned flags) {
    self->destroyedWith = flags;
    return self;
}
uint32_t* foreignPixels(ForeignBitmap* self) { return &self->pixel; }
int foreignWidth(ForeignBitmap*) { return 11; }
int foreignHeight(ForeignBitmap*) { return 22; }
int foreignSpan(ForeignBitmap*) { return 33; }
bool foreignFlipped(ForeignBitmap*) { return true; }
bool foreignResize(ForeignBitmap*, int w, int h) { return w == 5 && h == 6; }
void* foreignContext(ForeignBitmap* self) { return &self->destroyedWith; }
int foreignExtended(ForeignBitmap*, int id, void*) { return id + 1; }

void* const FOREIGN_TABLE[] = {
    reinterpret_cast<void*>(foreignDestroy),
    reinterpret_cast<void*>(foreignPixels),
    reinterpret_cast<void*>(foreignWidth),
    reinterpret_cast<void*>(foreignHeight),
    reinterpret_cast<void*>(foreignSpan),
    reinterpret_cast<void*>(foreignFlipped),
    reinterpret_cast<void*>(foreignResize),
    reinterpret_cast<void*>(foreignContext),
    reinterpret_cast<void*>(foreignExtended),
};

// The calls go through the interface as the program makes them; the table has no type
// information for the undefined-behaviour checker's vtable test to read.
__attribute__((noinline, no_sanitize("undefined"))) void callEverySlot(MIRQ_IBitmap* b, uint32_t** pixels, int* sizes,
                                                                        bool* flags, void** context, int* extended) {
    *pixels = b->pixels();
    sizes[0] = b->width();
    sizes[1] = b->height();
    sizes[2] = b->rowSpan();
    flags[0] = b->flipped();
    flags[1] = b->resize(5, 6);
    *context = b->deviceContext();
    *extended = b->extended(MIRQ_EXT_GET_SCALE, nullptr);
    b->destroySelf(MIRQ_DESTROY_FREE);  // what mirqDestroy calls
}

}  // namespace

TEST(SlotLayoutTest, BitmapSlotsLineUpWithAHostMadeObject) {
#if defined(__i386__)
    GTEST_SKIP() << "member calls pass the object in a register here; the table's plain functions cannot stand in";
#else
    ForeignBitmap foreign = {FOREIGN_TABLE, 0, 0};
    uint32_t* pixels = nullptr;
    int sizes[3] = {};
    bool flags[2] = {};
    void* context = nullptr;
    int extended = 0;
    callEverySlot(reinterpret_cast<MIRQ_IBitmap*>(&foreign), &pixels, sizes, flags, &context, &extended);
    EXPECT_EQ(pixels, &foreign.pixel);
    EXPECT_EQ(sizes[0], 11);
    EXPECT_EQ(sizes[1], 22);
    EXPECT_EQ(sizes[2], 33);
    EXPECT_TRUE(flags[0]);
    EXPECT_TRUE(flags[1]);
    EXPECT_EQ(context, &foreign.destroyedWith);
    EXPECT_EQ(extended, MIRQ_EXT_GET_SCALE + 1);
    EXPECT_EQ(foreign.destroyedWith, MIRQ_DESTROY_FREE) << "slot 0 ends the object, asked to free it";
#endif
}
