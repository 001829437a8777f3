#include "byte_buffer.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "os_mem.h"
#include "support/memory_usage.h"

namespace {

class ByteBuffer : public FaultsTest {
  protected:
    void SetUp() override {
        FaultsTest::SetUp();
        ASSERT_EQ(1, zn_bf_init(&buffer_, 0));
    }
    void TearDown() override {
        zn_bf_free(&buffer_);
        FaultsTest::TearDown();
    }

    void put(const std::string &content) {
        memcpy(buffer_.data + buffer_.length, content.data(), content.size());
        buffer_.length += static_cast<uint32_t>(content.size());
    }
    static void no_memory() {
        doubles::libc::malloc.stand_in([](size_t) -> void * { return nullptr; });
        doubles::libc::calloc.stand_in([](size_t, size_t) -> void * { return nullptr; });
    }

    zn_bf_t buffer_;
};

}  // namespace

TEST_F(ByteBuffer, IsEmptyAndTakesNoMemoryAtFirst) {
    const uint32_t before = live_blocks();
    zn_bf_t buffer = {buffer_.data, 7, 9};
    EXPECT_EQ(1, zn_bf_init(&buffer, 0));
    EXPECT_EQ(nullptr, buffer.data);
    EXPECT_EQ(0u, buffer.length);
    EXPECT_EQ(0u, buffer.capacity);
    EXPECT_EQ(before, live_blocks());
}

TEST_F(ByteBuffer, MayStartWithRoom) {
    zn_bf_t buffer;
    ASSERT_EQ(1, zn_bf_init(&buffer, 10));
    EXPECT_EQ(0u, buffer.length);
    EXPECT_EQ(10u, buffer.capacity);
    EXPECT_EQ(std::string(11, '\0'), std::string(buffer.data, 11));
    zn_bf_free(&buffer);
}

TEST_F(ByteBuffer, LeavesRoomForTheNulBehindItsSize) {
    ASSERT_EQ(1, zn_bf_grow(&buffer_, 3));
    put("abc");
    buffer_.data[3] = '\0';
    EXPECT_STREQ("abc", buffer_.data);
}

TEST_F(ByteBuffer, GrownToNothingIsAnEmptyText) {
    ASSERT_EQ(1, zn_bf_grow(&buffer_, 0));
    EXPECT_STREQ("", buffer_.data);
    EXPECT_EQ(0u, buffer_.capacity);
}

TEST_F(ByteBuffer, KeepsItsContentAsItGrows) {
    ASSERT_EQ(1, zn_bf_grow(&buffer_, 2));
    put("ab");
    ASSERT_EQ(1, zn_bf_grow(&buffer_, 4000));
    put("cd");
    EXPECT_STREQ("abcd", buffer_.data);
    EXPECT_EQ(4u, buffer_.length);
    EXPECT_EQ(4000u, buffer_.capacity);
    EXPECT_TRUE(std::all_of(buffer_.data + 4, buffer_.data + 4001, [](char byte) { return byte == '\0'; }));
}

TEST_F(ByteBuffer, StaysWhereItIsWhileThereIsRoom) {
    ASSERT_EQ(1, zn_bf_grow(&buffer_, 100));
    const char *data = buffer_.data;
    for (const uint32_t size : {100u, 1u, 0u}) {
        EXPECT_EQ(1, zn_bf_grow(&buffer_, size));
        EXPECT_EQ(data, buffer_.data);
        EXPECT_EQ(100u, buffer_.capacity);
    }
}

TEST_F(ByteBuffer, GrowsToOneBlockAtMost) {
    EXPECT_EQ(0, zn_bf_grow(&buffer_, OS_MEM_BLOCK_MAX));
    EXPECT_EQ(0, zn_bf_grow(&buffer_, UINT32_MAX));
    EXPECT_EQ(nullptr, buffer_.data);
    EXPECT_EQ(1, zn_bf_grow(&buffer_, OS_MEM_BLOCK_MAX - 1));
}

TEST_F(ByteBuffer, StaysAsItWasWithoutMemory) {
    ASSERT_EQ(1, zn_bf_grow(&buffer_, 2));
    put("ab");
    no_memory();
    EXPECT_EQ(0, zn_bf_grow(&buffer_, 3));
    EXPECT_STREQ("ab", buffer_.data);
    EXPECT_EQ(2u, buffer_.length);
    EXPECT_EQ(2u, buffer_.capacity);
}

TEST_F(ByteBuffer, IsEmptyWhenItCanNotStartWithRoom) {
    no_memory();
    zn_bf_t buffer = {buffer_.data, 7, 9};
    EXPECT_EQ(0, zn_bf_init(&buffer, 10));
    EXPECT_EQ(nullptr, buffer.data);
    EXPECT_EQ(0u, buffer.length);
    EXPECT_EQ(0u, buffer.capacity);
}

TEST_F(ByteBuffer, GivesItsMemoryBackAndIsEmptyAgain) {
    const uint32_t before = live_blocks();
    ASSERT_EQ(1, zn_bf_grow(&buffer_, 5));
    put("abc");
    EXPECT_EQ(before + 1, live_blocks());
    zn_bf_free(&buffer_);
    EXPECT_EQ(before, live_blocks());
    EXPECT_EQ(nullptr, buffer_.data);
    EXPECT_EQ(0u, buffer_.length);
    EXPECT_EQ(0u, buffer_.capacity);
    zn_bf_free(&buffer_);
}

TEST_F(ByteBuffer, RefusesNull) {
    EXPECT_EQ(0, zn_bf_init(nullptr, 0));
    EXPECT_EQ(0, zn_bf_grow(nullptr, 1));
    zn_bf_free(nullptr);
}
