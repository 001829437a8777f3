/*
 * Untranslated output with a base library that lacks this function. The test program has no other base
 * library.
 */
#include "internal/untranslated.h"

#include <gtest/gtest.h>

TEST(Untranslated, ABaseLibraryWithoutItIsLeftAlone) {
    ASSERT_EQ(nullptr, &os_command_untranslated);
    const Untranslated untranslated;
}
