/*
 * The constant properties of this product build.
 */
#include <gtest/gtest.h>

#include "frwk_utils.h"

TEST(Capability, TheBuildIsNoPvVersion) {
    EXPECT_EQ(0, frwk_utils_is_pv_version());
}

TEST(Capability, TheBuildHasTheModemSide) {
    EXPECT_EQ(1, frwk_utils_is_mpss_support());
}

TEST(Capability, TheBuildSupportsTheSoftAccessPoint) {
    EXPECT_EQ(1, frwk_utils_is_softap_support());
}
