/*
 * A test under the product's key, whose calls leak no block.
 */
#pragma once

#include <gtest/gtest.h>

#include "doubles/faults_test_fixture.h"
#include "os_mem.h"
#include "support/key_files.h"

class ProductKeyTest : public FaultsTest {
  protected:
    void SetUp() override {
        FaultsTest::SetUp();
        remove_key_files();
        write_key_file(kProductKeyPath, some_key());
        os_mem_usage(&before_);
    }

    void TearDown() override {
        FaultsTest::TearDown();
        remove_key_files();
        os_mem_usage_t after = {};
        os_mem_usage(&after);
        EXPECT_EQ(before_.live_blocks, after.live_blocks);
        EXPECT_EQ(before_.live_bytes, after.live_bytes);
    }

    os_mem_usage_t before_ = {};
};
