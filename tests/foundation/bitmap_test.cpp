#include <gtest/gtest.h>

#include "foundation/bitmap.h"
#include "support/memory_bitmap.h"

TEST(BitmapTest, EmptyWhenOutsideTheParentOrWithoutOne) {
    MemoryBitmap parent(120, 100);
    MIRQ_SubBitmap beyondRight(&parent, 120, 10, 30, 30);
    EXPECT_EQ(beyondRight.width(), 0);
    EXPECT_EQ(beyondRight.height(), 0);
    MIRQ_SubBitmap beyondBottom(&parent, 10, 100, 30, 30);
    EXPECT_EQ(beyondBottom.width(), 0);
    EXPECT_EQ(beyondBottom.height(), 0);
    MIRQ_SubBitmap negativeSize(&parent, 10, 10, -1, 30);
    EXPECT_EQ(negativeSize.width(), 0);
    EXPECT_EQ(negativeSize.height(), 0);
    EXPECT_TRUE(negativeSize.resize(5, -5)) << "resize reports true even for an empty view";
    EXPECT_TRUE(negativeSize.resize(5, 6));
    EXPECT_EQ(negativeSize.width(), 5);
    EXPECT_EQ(negativeSize.height(), 6);

    MIRQ_SubBitmap orphan(nullptr, 0, 0, 10, 10);
    EXPECT_EQ(orphan.width(), 0);
    EXPECT_EQ(orphan.pixels(), nullptr);
    EXPECT_EQ(orphan.rowSpan(), 0);
    EXPECT_FALSE(orphan.flipped());
    EXPECT_EQ(orphan.extended(MIRQ_EXT_GET_SCALE, nullptr), 0);
    EXPECT_EQ(orphan.extended(MIRQ_EXT_SUB_BITMAP, nullptr), MIRQ_SUB_BITMAP_ANSWER);
    EXPECT_EQ(orphan.deviceContext(), nullptr);
}

TEST(BitmapTest, ClipsToTheParentAndPointsIntoIt) {
    MemoryBitmap parent(120, 120, 0, false, 8);
    MIRQ_SubBitmap view(&parent, 50, 50, 100, 100);
    EXPECT_EQ(view.width(), 70);
    EXPECT_EQ(view.height(), 70);
    EXPECT_EQ(view.rowSpan(), 128);
    EXPECT_EQ(view.pixels(), &parent.pixel(50, 50));
    view.pixels()[view.rowSpan() * 69 + 69] = 0xFF123456u;
    EXPECT_EQ(parent.pixel(119, 119), 0xFF123456u) << "the view's last pixel is the parent's last";

    MIRQ_SubBitmap negativeCorner(&parent, -20, -5, 30, 40);
    EXPECT_EQ(negativeCorner.x, 0) << "negative edges count as 0, the size is not shortened";
    EXPECT_EQ(negativeCorner.y, 0);
    EXPECT_EQ(negativeCorner.width(), 30);
    EXPECT_EQ(negativeCorner.height(), 40);

    MIRQ_SubBitmap nested(&view, 60, 5, 100, 10);
    EXPECT_EQ(nested.width(), 10);
    EXPECT_EQ(nested.pixels(), &parent.pixel(110, 55));
}

TEST(BitmapTest, ScaledParentOffsetsInStoredPixels) {
    MemoryBitmap parent(60, 60, 512);
    MIRQ_SubBitmap view(&parent, 10, 20, 100, 15);
    EXPECT_EQ(view.width(), 50) << "the size stays logical";
    EXPECT_EQ(view.height(), 15);
    EXPECT_EQ(view.pixels(), &parent.pixel(20, 40)) << "20 stored pixels right, 40 stored rows down";
    EXPECT_EQ(view.extended(MIRQ_EXT_GET_SCALE, nullptr), 512) << "other side calls reach the parent";
    EXPECT_EQ(view.extended(MIRQ_EXT_SUB_BITMAP, nullptr), MIRQ_SUB_BITMAP_ANSWER);
    EXPECT_EQ(bitmapScale(&view), 512);
    EXPECT_EQ(bitmapScale(nullptr), 0);
}

TEST(BitmapTest, FlippedParentStartsAtTheViewsLastRow) {
    MemoryBitmap parent(100, 80, 0, true);
    MIRQ_SubBitmap view(&parent, 10, 20, 30, 15);
    EXPECT_TRUE(view.flipped());
    // Rows stored bottom first: memory row 80 - (20 + 15) = 45 is the view's last row.
    EXPECT_EQ(view.pixels(), parent.store.data() + 45 * 100 + 10);
    EXPECT_EQ(view.pixels() + 14 * view.rowSpan(), &parent.pixel(10, 20)) << "the view's top row is the parent's row 20";
}

TEST(BitmapTest, DescribesPixelsWithoutOwningOrScalingThem) {
    uint32_t pixels[12] = {};
    MIRQ_WrapperBitmap wrapper;
    EXPECT_EQ(wrapper.pixels(), nullptr) << "a new wrapper describes no pixels";
    wrapper.bits = pixels;
    wrapper.bitsWidth = 3;
    wrapper.bitsHeight = 3;
    wrapper.bitsSpan = 4;
    wrapper.bitsFlipped = 1;
    EXPECT_FALSE(wrapper.resize(10, 10));
    EXPECT_EQ(wrapper.width(), 3);
    EXPECT_EQ(bitmapScale(&wrapper), 0) << "stored pixels only";

    MIRQ_SubBitmap view(&wrapper, 1, 1, 5, 5);
    EXPECT_EQ(view.width(), 2);
    EXPECT_EQ(view.pixels(), pixels + 1) << "flipped: the view's last row is the wrapper's first in memory";
}
