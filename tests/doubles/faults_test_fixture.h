/*
 * A fixture for tests with test doubles: it removes them after each test.
 */
#pragma once

#include <gtest/gtest.h>

#include "doubles/double.h"

class FaultsTest : public testing::Test {
  protected:
    void SetUp() override { doubles::restore_all(); }
    void TearDown() override { doubles::restore_all(); }
};
