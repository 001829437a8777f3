/*
 * Asking untranslated on a device whose base library doesn't know how. The test's program has no other base
 * library.
 */
#include "internal/untranslated.h"

#include <gtest/gtest.h>

TEST(Untranslated, ABaseLibraryWithoutItIsLeftAlone) {
    ASSERT_EQ(nullptr, &os_command_untranslated);
    const Untranslated untranslated;
}
