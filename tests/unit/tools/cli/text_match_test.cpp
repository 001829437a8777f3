#include "cli/text_match.h"

#include <gtest/gtest.h>

namespace {

TEST(TextMatch, TakesUpperAndLowerCaseAsEqual) {
    EXPECT_TRUE(starts_like("E_APPS_MSG", "e_apps"));
    EXPECT_TRUE(starts_like("wlan", "WL"));
    EXPECT_TRUE(contains_like("E_APPS_MSG_WLAN", "wlan"));
    EXPECT_TRUE(contains_like("weather", "ATH"));
}

TEST(TextMatch, AnyTextBeginsWithAndContainsNothing) {
    EXPECT_TRUE(starts_like("", ""));
    EXPECT_TRUE(contains_like("", ""));
    EXPECT_TRUE(contains_like("a", ""));
}

TEST(TextMatch, FindsNoPartThatIsNotThere) {
    EXPECT_FALSE(starts_like("wlan", "lan"));
    EXPECT_FALSE(starts_like("wl", "wlan"));
    EXPECT_FALSE(contains_like("wlan", "wan"));
}

TEST(TextMatch, MatchesThePatternsOfAShell) {
    EXPECT_TRUE(matches_pattern("SYS_LANGUAGE_CHANGE", "sys_*_change"));
    EXPECT_TRUE(matches_pattern("weather", "weathe[a-z]"));
    EXPECT_TRUE(matches_pattern("weather", "weat?er"));
    EXPECT_FALSE(matches_pattern("weather", "wea"));
    EXPECT_FALSE(matches_pattern("weather", "*rain*"));
}

}  // namespace
