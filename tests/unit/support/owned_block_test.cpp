/*
 * The owner of a block of tracked memory.
 */
#include "support/owned_block.h"

#include <gtest/gtest.h>

#include "support/memory_usage.h"

TEST(OwnedBlock, FreesItsBlock) {
    const uint32_t before = live_blocks();
    {
        const OwnedBlock owner = make_block(10);
        ASSERT_TRUE(owner);
        EXPECT_EQ(before + 1, live_blocks());
    }
    EXPECT_EQ(before, live_blocks());
}

TEST(OwnedBlock, OwnsNothingWithoutMemory) {
    const uint32_t before = live_blocks();
    const OwnedBlock owner = make_block(SIZE_MAX);
    EXPECT_FALSE(owner);
    EXPECT_EQ(nullptr, bytes_of(owner));
    EXPECT_EQ(before, live_blocks());
}
