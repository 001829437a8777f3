/*
 * A fixture for tests that stand in for functions: no stand-in outlives its test.
 */
#pragma once

#include <gtest/gtest.h>

#include "doubles/double.h"

class FaultsTest : public testing::Test {
  protected:
    void SetUp() override { doubles::restore_all(); }
    void TearDown() override { doubles::restore_all(); }
};
