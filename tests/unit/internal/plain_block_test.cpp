/*
 * Blocks that may hold anything, on a device whose base library can't leave the zero fill out. The test has a
 * program of its own, which brings such a library.
 */
#include "internal/plain_block.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

void *g_given = nullptr;

}  // namespace

void *os_mem_malloc(size_t size) {
    g_given = std::calloc(1, size);
    return g_given;
}

namespace {

TEST(PlainBlock, ABaseLibraryThatAlwaysZeroesIsAskedAllTheSame) {
    auto *block = static_cast<unsigned char *>(plain_block(16));
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(g_given, block);
    EXPECT_EQ(0, block[15]);
    std::free(block);
}

}  // namespace
