#include <gtest/gtest.h>

#include <cstring>

#include "foundation/grow_buffer.h"

TEST(GrowBufferTest, GrowthRuleFillsWholePages) {
    EXPECT_EQ(growBufferAllocationFor(100, 4096), 4000u);
    EXPECT_EQ(growBufferAllocationFor(10000, 4096), 12192u);
    EXPECT_EQ(growBufferAllocationFor(20000000, 4096), 24190880u) << "the extra part is held at 4 MiB";
    EXPECT_EQ((growBufferAllocationFor(123457, 4096) + 96) % 4096, 0u);
    EXPECT_EQ(growBufferAllocationFor(10, 16), 26u) << "small granularity: needed plus granularity";
    EXPECT_EQ(growBufferAllocationFor(100, 16), 150u) << "or plus half";
}

TEST(GrowBufferTest, ResizeKeepsContentsAndShrinksOnlyFarBelow) {
    GrowBuffer b;
    growBufferInit(&b);
    ASSERT_NE(growBufferResize(&b, 10000), nullptr);
    EXPECT_EQ(b.allocated, 12192u);
    std::memset(b.data, 0x5A, 10000);
    growBufferResize(&b, 5000);
    EXPECT_EQ(b.allocated, 12192u) << "5000 is not below min(half, allocation less four granules)";
    EXPECT_EQ(b.used, 5000u);
    growBufferResize(&b, 20000000);
    EXPECT_EQ(static_cast<unsigned char*>(b.data)[4999], 0x5A);
    growBufferResize(&b, 1000);
    EXPECT_EQ(b.allocated, 4000u) << "far below: reallocated by the rule";
    EXPECT_EQ(static_cast<unsigned char*>(b.data)[999], 0x5A);

    growBufferResize(&b, 0);
    for (int i = 0; i < 3000; i++) ASSERT_TRUE(growBufferAppend(&b, &i, sizeof i));
    EXPECT_EQ(b.used, 3000 * sizeof(int));
    EXPECT_EQ(static_cast<int*>(b.data)[2999], 2999);
    growBufferFree(&b);
    EXPECT_EQ(b.data, nullptr);
    EXPECT_EQ(b.used, 0u);

    // An empty buffer sized to 0, or given nothing to append, succeeds.
    EXPECT_NE(growBufferResize(&b, 0), nullptr);
    growBufferFree(&b);
    EXPECT_TRUE(growBufferAppend(&b, nullptr, 0));
    EXPECT_EQ(b.used, 0u);
    growBufferFree(&b);
}
