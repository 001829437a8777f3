/*
 * The buffer that needs the heap only above its fixed size, and sums that may not fit.
 */
#include "internal/small_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "doubles/dirty_memory.h"
#include "support/memory_usage.h"

namespace {

class ZeroedBuffer : public testing::Test {
  protected:
    void TearDown() override { doubles::restore_all(); }

    /* The bytes of a buffer that asked for so many zeros. */
    static std::string zeroed(uint32_t size) {
        SmallBuffer<64> buffer;
        EXPECT_TRUE(buffer.reserve_zeroed(size));
        return {reinterpret_cast<const char *>(buffer.data()), size};
    }
};

}  // namespace

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

/* From the fixed bytes to blocks that are cleared piece by piece, the last piece of a single byte. */
TEST_F(ZeroedBuffer, IsZeroWhateverTheAllocatorLeaves) {
    hand_out_dirty_blocks();
    for (const uint32_t size : {0u, 1u, 64u, 65u, 5000u, 128u << 10, (128u << 10) + 1, 1000000u}) {
        EXPECT_EQ(zeroed(size), std::string(size, '\0')) << size;
    }
}

TEST_F(ZeroedBuffer, IsZeroWhereOnlyItsLastByteIsNot) {
    doubles::base::os_mem_malloc.stand_in([](size_t size) {
        auto *block = static_cast<char *>(doubles::base::os_mem_malloc.real(size));
        block[size - 1] = 'x';
        return static_cast<void *>(block);
    });
    EXPECT_EQ(zeroed(1000000), std::string(1000000, '\0'));
}

TEST_F(ZeroedBuffer, HasTheSameLimits) {
    const uint32_t before = live_blocks();
    SmallBuffer<64> buffer;
    EXPECT_FALSE(buffer.reserve_zeroed(checked_add(UINT32_MAX, 8)));
    EXPECT_FALSE(buffer.reserve_zeroed(OS_MEM_BLOCK_MAX + 1));
    EXPECT_TRUE(buffer.reserve_zeroed(64));
    EXPECT_FALSE(buffer.on_heap());
    EXPECT_TRUE(buffer.reserve_zeroed(65));
    EXPECT_TRUE(buffer.on_heap());
    EXPECT_EQ(live_blocks(), before + 1);
}

TEST_F(ZeroedBuffer, IsRefusedWithoutMemory) {
    doubles::base::os_mem_malloc.stand_in([](size_t) -> void * { return nullptr; });
    SmallBuffer<64> buffer;
    EXPECT_FALSE(buffer.reserve_zeroed(65));
    EXPECT_FALSE(buffer.reserve_zeroed(1000000));
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
