#include "cli/near_name.h"

#include <gtest/gtest.h>

namespace {

TEST(NearName, CountsTheEditsBetweenTwoTexts) {
    EXPECT_EQ(0u, edit_distance("zndb", "zndb"));
    EXPECT_EQ(1u, edit_distance("zndb", "zdb"));
    EXPECT_EQ(1u, edit_distance("zndb", "zundb"));
    EXPECT_EQ(1u, edit_distance("zndb", "zndd"));
    EXPECT_EQ(3u, edit_distance("kitten", "sitting"));
    EXPECT_EQ(4u, edit_distance("", "zndb"));
    EXPECT_EQ(4u, edit_distance("zndb", ""));
}

TEST(NearName, CountsTwoSwappedNeighboursAsOneEdit) {
    EXPECT_EQ(1u, edit_distance("wlna", "wlan"));
    EXPECT_EQ(1u, edit_distance("lwan", "wlan"));
}

TEST(NearName, TakesUpperAndLowerCaseAsEqual) {
    EXPECT_EQ(0u, edit_distance("ZNDB", "zndb"));
    EXPECT_EQ(1u, edit_distance("WLNA", "wlan"));
}

TEST(NearName, FindsTheNearestOfSeveral) {
    EXPECT_EQ("router", nearest_name("ruoter", {"monitor", "router", "rc"}));
    EXPECT_EQ("rc", nearest_name("r", {"router", "rc"}));
}

TEST(NearName, OffersNothingThatIsFar) {
    EXPECT_EQ("", nearest_name("frobnicate", {"get", "set", "reset"}));
    EXPECT_EQ("", nearest_name("", {"get"}));
    EXPECT_EQ("", nearest_name("get", {}));
}

TEST(NearName, SaysWhatIsUnknownAndWhatWasProbablyMeant) {
    EXPECT_EQ("unknown module 'wlna'; did you mean 'wlan'?", unknown_name("module", "wlna", {"wlan"}));
    EXPECT_EQ("unknown module 'xyz'", unknown_name("module", "xyz", {"wlan"}));
}

}  // namespace
