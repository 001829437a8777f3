/*
 * A test under the product's key.
 */
#pragma once

#include "support/key_files.h"
#include "unit/base/no_leak_fixture.h"

class ProductKeyTest : public NoLeakTest {
  protected:
    void SetUp() override {
        remove_key_files();
        write_key_file(kProductKeyPath, some_key());
        NoLeakTest::SetUp();
    }

    void TearDown() override {
        NoLeakTest::TearDown();
        remove_key_files();
    }
};
