/*
 * The buffer that needs the heap only above its fixed size, and sums that may not fit.
 */
#include "internal/small_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "unit/frwk_common/memory_usage.h"

TEST(CheckedAdd, AddsWhatFits) {
    EXPECT_EQ(checked_add(24, 1000), 1024u);
    EXPECT_EQ(checked_add(0, 0), 0u);
    EXPECT_EQ(checked_add(UINT32_MAX, 0), UINT32_MAX);
    EXPECT_EQ(checked_add(UINT32_MAX - 8, 8), UINT32_MAX);
}

TEST(CheckedAdd, RefusesWhatWraps) {
    EXPECT_EQ(checked_add(UINT32_MAX, 1), std::nullopt);
    EXPECT_EQ(checked_add(UINT32_MAX - 7, 8), std::nullopt);
    EXPECT_EQ(checked_add(8, UINT32_MAX), std::nullopt);
}

TEST(SmallBuffer, NeedsNoHeapUpToItsFixedSize) {
    const uint32_t before = live_blocks();
    SmallBuffer<64> buffer;
    ASSERT_TRUE(buffer.reserve(64));
    EXPECT_FALSE(buffer.on_heap());
    EXPECT_EQ(live_blocks(), before);
    std::fill_n(buffer.data(), 64, static_cast<unsigned char>(7));
    EXPECT_EQ(buffer.data()[63], 7);
}

TEST(SmallBuffer, AcceptsNoBytesAtAll) {
    SmallBuffer<64> buffer;
    ASSERT_TRUE(buffer.reserve(0));
    EXPECT_FALSE(buffer.on_heap());
    EXPECT_NE(buffer.data(), nullptr);
}

TEST(SmallBuffer, TakesOneBlockAboveItsFixedSize) {
    const uint32_t before = live_blocks();
    SmallBuffer<64> buffer;
    ASSERT_TRUE(buffer.reserve(65));
    EXPECT_TRUE(buffer.on_heap());
    EXPECT_EQ(live_blocks(), before + 1);
}

TEST(SmallBuffer, StartsABlockWithZeros) {
    SmallBuffer<64> buffer;
    ASSERT_TRUE(buffer.reserve(5000));
    ASSERT_TRUE(buffer.on_heap());
    const std::string bytes(reinterpret_cast<const char *>(buffer.data()), 5000);
    EXPECT_EQ(bytes, std::string(5000, '\0'));
}

TEST(SmallBuffer, TakesAPlainBlockWithTheSameLimits) {
    const uint32_t before = live_blocks();
    SmallBuffer<64> buffer;
    EXPECT_FALSE(buffer.reserve_plain(checked_add(UINT32_MAX, 8)));
    EXPECT_FALSE(buffer.reserve_plain(OS_MEM_BLOCK_MAX + 1));
    EXPECT_TRUE(buffer.reserve_plain(64));
    EXPECT_FALSE(buffer.on_heap());
    EXPECT_TRUE(buffer.reserve_plain(65));
    EXPECT_TRUE(buffer.on_heap());
    EXPECT_EQ(live_blocks(), before + 1);
}

TEST(SmallBuffer, ABlockAfterAPlainOneStartsWithZeros) {
    for (int round = 0; round < 2; ++round) {
        SmallBuffer<64> plain;
        ASSERT_TRUE(plain.reserve_plain(5000));
        std::memset(plain.data(), 0xFF, 5000);
    }
    SmallBuffer<64> zeroed;
    ASSERT_TRUE(zeroed.reserve(5000));
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(zeroed.data()), 5000), std::string(5000, '\0'));
}

TEST(SmallBuffer, FreesItsBlock) {
    const uint32_t before = live_blocks();
    {
        SmallBuffer<64> buffer;
        ASSERT_TRUE(buffer.reserve(65));
    }
    EXPECT_EQ(live_blocks(), before);
}

TEST(SmallBuffer, RefusesWhatTheAllocatorRefuses) {
    SmallBuffer<64> buffer;
    EXPECT_FALSE(buffer.reserve(OS_MEM_BLOCK_MAX + 1));
    EXPECT_FALSE(buffer.on_heap());
}

TEST(SmallBuffer, RefusesASizeThatOverflowed) {
    SmallBuffer<64> buffer;
    EXPECT_FALSE(buffer.reserve(checked_add(UINT32_MAX, 8)));
    EXPECT_FALSE(buffer.on_heap());
}

TEST(SmallBuffer, IsAlignedForAnyRecord) {
    SmallBuffer<64> buffer;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(buffer.data()) % alignof(std::max_align_t), 0u);
}
