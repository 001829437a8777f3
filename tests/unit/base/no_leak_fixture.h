/*
 * A test whose calls leak no block, and the bytes that any text or content may have.
 */
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "doubles/faults_test_fixture.h"
#include "support/memory_usage.h"

class NoLeakTest : public FaultsTest {
  protected:
    void SetUp() override {
        FaultsTest::SetUp();
        before_ = memory_usage();
    }

    void TearDown() override {
        FaultsTest::TearDown();
        EXPECT_EQ(before_.live_blocks, memory_usage().live_blocks);
        EXPECT_EQ(before_.live_bytes, memory_usage().live_bytes);
    }

    static std::string every_byte() {
        std::string bytes;
        for (int i = 0; i < 256; ++i) {
            bytes += static_cast<char>(i);
        }
        return bytes;
    }

    os_mem_usage_t before_ = {};
};
