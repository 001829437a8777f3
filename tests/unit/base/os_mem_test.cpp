#include "os_mem.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "support/threads.h"
#include "unit/base/log_channels_fixture.h"

namespace {

static_assert(sizeof(os_mem_usage_t) == 24);

void no_memory() {
    doubles::libc::malloc.stand_in([](size_t) { return nullptr; });
    doubles::libc::calloc.stand_in([](size_t, size_t) { return nullptr; });
}

/* The C library's memory comes full of something. */
void dirty_memory() {
    doubles::libc::malloc.stand_in([](size_t size) {
        void *block = doubles::libc::malloc.real(size);
        return block != nullptr ? memset(block, 0xFF, size) : nullptr;
    });
}

bool is_filled_with(const void *block, size_t size, unsigned char byte) {
    const auto *bytes = static_cast<const unsigned char *>(block);
    return std::all_of(bytes, bytes + size, [byte](unsigned char each) { return each == byte; });
}

os_mem_usage_t usage_now() {
    os_mem_usage_t usage{};
    os_mem_usage(&usage);
    return usage;
}

/* Before the first block of the process. */
const os_mem_usage_t g_at_start = usage_now();

/* Blocks that other tests of the process left count too, so every test looks at differences. */
class OsMem : public LogChannelsTest {
  protected:
    void SetUp() override {
        os_mem_init(nullptr);
        LogChannelsTest::SetUp();
        before_ = usage_now();
    }
    void TearDown() override {
        os_mem_init(nullptr);
        LogChannelsTest::TearDown();
    }

    /* Limits the process to so many bytes more than it holds now. */
    void refuse_above(uint32_t bytes) const {
        os_mem_settings settings{};
        settings.refuse_at = before_.live_bytes + bytes;
        os_mem_init(&settings);
    }
    void warn_above(uint32_t bytes) const {
        os_mem_settings settings{};
        settings.warn_at = before_.live_bytes + bytes;
        os_mem_init(&settings);
    }

    os_mem_usage_t before_{};
};

}  // namespace

TEST(OsMemAtStart, HasCountedNothing) {
    const os_mem_usage_t nothing{};
    EXPECT_EQ(0, std::memcmp(&nothing, &g_at_start, sizeof(nothing)));
}

TEST_F(OsMem, HandsOutZeros) {
    for (int round = 0; round < 2; ++round) {
        auto *block = static_cast<unsigned char *>(os_mem_malloc(100));
        ASSERT_NE(nullptr, block);
        for (int i = 0; i < 100; ++i) {
            EXPECT_EQ(0, block[i]);
        }
        memset(block, 0xFF, 100);
        os_mem_free(block);
    }
}

TEST_F(OsMem, HandsOutZerosOfEverySizeWhateverTheMemoryHeld) {
    dirty_memory();
    for (const size_t size : {1u, 1023u, 1024u, 1025u, 1u << 20}) {
        void *block = os_mem_malloc(size);
        EXPECT_TRUE(is_filled_with(block, size, 0)) << size;
        os_mem_free(block);
    }
}

TEST_F(OsMem, LeavesALargeBlockAsItIsWithoutZeroFill) {
    dirty_memory();
    EXPECT_EQ(1, os_mem_zeroing(0));
    void *plain = os_mem_malloc(5000);
    EXPECT_EQ(0, os_mem_zeroing(1));
    void *zeroed = os_mem_malloc(5000);
    EXPECT_TRUE(is_filled_with(plain, 5000, 0xFF));
    EXPECT_TRUE(is_filled_with(zeroed, 5000, 0));
    os_mem_free(plain);
    os_mem_free(zeroed);
}

TEST_F(OsMem, ZeroFillIsEachThreadsOwn) {
    dirty_memory();
    os_mem_zeroing(0);
    std::thread other([] {
        void *block = os_mem_malloc(5000);
        EXPECT_TRUE(is_filled_with(block, 5000, 0));
        os_mem_free(block);
    });
    other.join();
    os_mem_zeroing(1);
}

TEST_F(OsMem, AlignsBlocksForAnyType) {
    for (const size_t size : {0u, 1u, 15u, 17u, 4096u}) {
        void *block = os_mem_malloc(size);
        EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(block) % alignof(std::max_align_t)) << size;
        os_mem_free(block);
    }
}

TEST_F(OsMem, CountsWhatTheCallerAskedFor) {
    void *a = os_mem_malloc(100);
    void *b = os_mem_malloc(11);
    const os_mem_usage_t with_both = usage_now();
    EXPECT_EQ(before_.live_bytes + 111, with_both.live_bytes);
    EXPECT_EQ(before_.live_blocks + 2, with_both.live_blocks);
    EXPECT_EQ(before_.total_blocks + 2, with_both.total_blocks);

    os_mem_free(a);
    os_mem_free(b);
    const os_mem_usage_t after = usage_now();
    EXPECT_EQ(before_.live_bytes, after.live_bytes);
    EXPECT_EQ(before_.live_blocks, after.live_blocks);
    EXPECT_EQ(before_.total_blocks + 2, after.total_blocks);
    EXPECT_EQ(before_.refused, after.refused);
}

TEST_F(OsMem, RemembersThePeak) {
    void *large = os_mem_malloc(before_.peak_bytes + 1000);
    ASSERT_NE(nullptr, large);
    os_mem_free(large);
    os_mem_free(os_mem_malloc(10));
    EXPECT_EQ(before_.live_bytes + before_.peak_bytes + 1000, usage_now().peak_bytes);
}

TEST_F(OsMem, TheBytesHeldNowMayBeThePeak) {
    void *large = os_mem_malloc(before_.peak_bytes + 1000);
    EXPECT_EQ(usage_now().live_bytes, usage_now().peak_bytes);
    os_mem_free(large);
}

TEST_F(OsMem, GivesABlockForSizeZero) {
    void *block = os_mem_malloc(0);
    EXPECT_NE(nullptr, block);
    EXPECT_EQ(before_.live_bytes, usage_now().live_bytes);
    EXPECT_EQ(before_.live_blocks + 1, usage_now().live_blocks);
    os_mem_free(block);
}

TEST_F(OsMem, FreesNull) {
    os_mem_free(nullptr);
    EXPECT_EQ(before_.live_blocks, usage_now().live_blocks);
}

TEST_F(OsMem, HandsOutABlockOf64MiB) {
    void *block = os_mem_malloc(OS_MEM_BLOCK_MAX);
    EXPECT_NE(nullptr, block);
    EXPECT_EQ(before_.live_bytes + 64u * 1024u * 1024u, usage_now().live_bytes);
    os_mem_free(block);
}

TEST_F(OsMem, AsksTheCLibraryForTheBlockAndAHeaderOnly) {
    size_t asked = 0;
    doubles::libc::calloc.stand_in([&asked](size_t count, size_t size) {
        asked = count * size;
        return doubles::libc::calloc.real(count, size);
    });
    os_mem_free(os_mem_malloc(100000));
    EXPECT_GE(asked, 100000u);
    EXPECT_LE(asked, 100000u + 2 * alignof(std::max_align_t));
}

TEST_F(OsMem, RefusesABlockAbove64MiB) {
    for (const size_t size : {size_t{OS_MEM_BLOCK_MAX} + 1, size_t{UINT32_MAX}, SIZE_MAX - 8, SIZE_MAX}) {
        errno = 0;
        EXPECT_EQ(nullptr, os_mem_malloc(size)) << size;
        EXPECT_EQ(ENOMEM, errno);
    }
    EXPECT_EQ(before_.refused + 4, usage_now().refused);
    EXPECT_EQ(before_.live_bytes, usage_now().live_bytes);
    EXPECT_EQ(before_.total_blocks, usage_now().total_blocks);
    EXPECT_EQ(0u, doubles::libc::malloc.calls() + doubles::libc::calloc.calls());
}

TEST_F(OsMem, CountsARequestWithoutMemoryAsRefused) {
    no_memory();
    for (const size_t size : {100u, 1u << 20}) {
        errno = 0;
        EXPECT_EQ(nullptr, os_mem_malloc(size));
        EXPECT_EQ(ENOMEM, errno);
    }
    EXPECT_EQ(before_.refused + 2, usage_now().refused);
    EXPECT_EQ(before_.live_bytes, usage_now().live_bytes);
    EXPECT_EQ(before_.live_blocks, usage_now().live_blocks);
}

TEST_F(OsMem, RefusesWhatGoesPastTheLimit) {
    refuse_above(100);
    void *block = os_mem_malloc(60);
    EXPECT_EQ(nullptr, os_mem_malloc(41));
    EXPECT_EQ(before_.refused + 1, usage_now().refused);
    void *rest = os_mem_malloc(40);
    EXPECT_NE(nullptr, rest);
    EXPECT_EQ(nullptr, os_mem_malloc(1));

    os_mem_free(block);
    block = os_mem_malloc(60);
    EXPECT_NE(nullptr, block);
    os_mem_free(block);
    os_mem_free(rest);
}

TEST_F(OsMem, RefusesEverythingWhileItHoldsMoreThanANewLimit) {
    void *block = os_mem_malloc(1000);
    refuse_above(500);
    EXPECT_EQ(nullptr, os_mem_malloc(1));
    os_mem_free(block);
    block = os_mem_malloc(500);
    EXPECT_NE(nullptr, block);
    os_mem_free(block);
}

TEST_F(OsMem, HasNoLimitWithoutSettings) {
    refuse_above(1);
    os_mem_init(nullptr);
    void *block = os_mem_malloc(1000);
    EXPECT_NE(nullptr, block);
    os_mem_free(block);
}

TEST_F(OsMem, KeepsCountingBlocksFromBeforeItsSettings) {
    void *block = os_mem_malloc(77);
    warn_above(100);
    EXPECT_EQ(before_.live_bytes + 77, usage_now().live_bytes);
    os_mem_free(block);
    EXPECT_EQ(before_.live_bytes, usage_now().live_bytes);
}

TEST_F(OsMem, WarnsOnceWhenItFirstPassesTheMark) {
    warn_above(100);
    void *at_the_mark = os_mem_malloc(100);
    EXPECT_EQ(0u, system_messages().size());

    os_mem_free(os_mem_malloc(1));
    os_mem_free(os_mem_malloc(1000));
    ASSERT_EQ(1u, system_messages().size());
    EXPECT_EQ(OS_LOG_WARNING, system_messages()[0].first);
    EXPECT_NE(std::string::npos,
              system_messages()[0].second.find(std::to_string(before_.live_bytes + 101) + " bytes"));
    EXPECT_EQ(before_.live_bytes + 100, usage_now().warn_at);
    os_mem_free(at_the_mark);
}

TEST_F(OsMem, WarnsAnewAfterNewSettings) {
    warn_above(10);
    os_mem_free(os_mem_malloc(11));
    warn_above(20);
    os_mem_free(os_mem_malloc(21));
    EXPECT_EQ(2u, system_messages().size());
}

TEST_F(OsMem, NeverWarnsWithoutAMark) {
    os_mem_free(os_mem_malloc(OS_MEM_BLOCK_MAX));
    EXPECT_EQ(0u, system_messages().size());
    EXPECT_EQ(0u, usage_now().warn_at);
}

TEST_F(OsMem, RecordsItsSettingsInTheLog) {
    set_channels(1, OS_LOG_WARNING);
    const os_mem_settings settings = {1001, 2002, 1, 3003, 4004};
    os_mem_init(&settings);
    ASSERT_EQ(1u, debug_lines().size());
    EXPECT_NE(
        std::string::npos,
        debug_lines()[0].find("warn at 1001, refuse at 2002, pool 1, pool block 3003, pool total 4004"));
    EXPECT_EQ(0u, system_messages().size());
}

TEST_F(OsMem, CopiesATextIntoABlock) {
    char text[] = "text";
    char *copy = os_mem_strdup(text);
    text[0] = '#';
    EXPECT_STREQ("text", copy);
    EXPECT_EQ(before_.live_bytes + 5, usage_now().live_bytes);
    os_mem_free(copy);
}

TEST_F(OsMem, CopiesAnEmptyText) {
    char *copy = os_mem_strdup("");
    EXPECT_STREQ("", copy);
    EXPECT_EQ(before_.live_bytes + 1, usage_now().live_bytes);
    os_mem_free(copy);
}

TEST_F(OsMem, CopiesNoTextWithoutMemoryOrWithoutText) {
    EXPECT_EQ(nullptr, os_mem_strdup(nullptr));
    refuse_above(4);
    EXPECT_EQ(nullptr, os_mem_strdup("text"));
    EXPECT_EQ(before_.refused + 1, usage_now().refused);
}

TEST_F(OsMem, CountsRightFromManyThreads) {
    run_in_threads(8, [](size_t) {
        for (size_t i = 0; i < 100'000; ++i) {  // enough for two of them to count at the same moment
            void *block = os_mem_malloc(i % 64);
            os_mem_free(block);
        }
    });
    const os_mem_usage_t after = usage_now();
    EXPECT_EQ(before_.live_bytes, after.live_bytes);
    EXPECT_EQ(before_.live_blocks, after.live_blocks);
    EXPECT_EQ(before_.total_blocks + 800'000, after.total_blocks);
}

TEST_F(OsMem, HoldsItsLimitAgainstManyThreads) {
    os_mem_free(os_mem_malloc(before_.peak_bytes + 10'000));
    before_ = usage_now();
    os_mem_settings settings{};
    settings.refuse_at = before_.peak_bytes + 1000;
    settings.warn_at = before_.peak_bytes;
    os_mem_init(&settings);
    run_in_threads(8, [](size_t) {
        void *blocks[200] = {};
        for (void *&block : blocks) {
            block = os_mem_malloc(100);
        }
        for (void *block : blocks) {
            os_mem_free(block);
        }
    });
    const os_mem_usage_t after = usage_now();
    EXPECT_LE(after.peak_bytes, settings.refuse_at);
    EXPECT_EQ(before_.live_bytes, after.live_bytes);
    EXPECT_EQ(1600u, after.total_blocks - before_.total_blocks + after.refused - before_.refused);
    EXPECT_GE(1u, system_messages().size());
}
