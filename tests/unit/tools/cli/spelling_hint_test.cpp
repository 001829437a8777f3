#include "cli/spelling_hint.h"

#include <gtest/gtest.h>

namespace {

TEST(SpellingHint, CountsTheEditsBetweenTwoTexts) {
    EXPECT_EQ(0u, edit_distance("zndb", "zndb"));
    EXPECT_EQ(1u, edit_distance("zndb", "zdb"));
    EXPECT_EQ(1u, edit_distance("zndb", "zundb"));
    EXPECT_EQ(1u, edit_distance("zndb", "zndd"));
    EXPECT_EQ(3u, edit_distance("kitten", "sitting"));
    EXPECT_EQ(4u, edit_distance("", "zndb"));
    EXPECT_EQ(4u, edit_distance("zndb", ""));
}

TEST(SpellingHint, CountsTwoSwappedNeighboursAsOneEdit) {
    EXPECT_EQ(1u, edit_distance("wlna", "wlan"));
    EXPECT_EQ(1u, edit_distance("lwan", "wlan"));
}

TEST(SpellingHint, TakesUpperAndLowerCaseAsEqual) {
    EXPECT_EQ(0u, edit_distance("ZNDB", "zndb"));
    EXPECT_EQ(1u, edit_distance("WLNA", "wlan"));
}

TEST(SpellingHint, FindsTheNearestOfSeveral) {
    EXPECT_EQ("router", nearest_name("ruoter", {"monitor", "router", "rc"}));
    EXPECT_EQ("rc", nearest_name("rcc", {"router", "rc"}));
}

TEST(SpellingHint, OffersNothingThatIsFar) {
    EXPECT_EQ("", nearest_name("frobnicate", {"get", "set", "reset"}));
    EXPECT_EQ("", nearest_name("", {"get"}));
    EXPECT_EQ("", nearest_name("get", {}));
}

TEST(SpellingHint, SaysWhatIsUnknownAndWhatWasProbablyMeant) {
    EXPECT_EQ("unknown module 'wlna'; did you mean 'wlan'?", unknown_name("module", "wlna", {"wlan"}));
    EXPECT_EQ("unknown module 'xyz'", unknown_name("module", "xyz", {"wlan"}));
}

TEST(SpellingHint, ListsAShortListWhereNothingIsNear) {
    EXPECT_EQ("unknown state 'of'; did you mean 'off'?", unknown_choice("state", "of", {"on", "off"}));
    EXPECT_EQ("unknown state 'maybe'; one of: on, off", unknown_choice("state", "maybe", {"on", "off"}));
}

TEST(SpellingHint, AnotherShortNameIsNoSuggestion) {
    EXPECT_EQ("", nearest_name("b", {"a"}));
    EXPECT_EQ("", nearest_name("a", {"ab"}));
    EXPECT_EQ("", nearest_name("a1", {"a2"}));
    EXPECT_EQ("off", nearest_name("of", {"on", "off"}));
    EXPECT_EQ("A", nearest_name("a", {"b", "A"}));
}

}  // namespace
