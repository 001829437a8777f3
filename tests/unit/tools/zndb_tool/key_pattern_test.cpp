#include "zndb_tool/key_pattern.h"

#include <gtest/gtest.h>

TEST(KeyPattern, WithoutWildcardsIsTheBeginningOfKeys) {
    EXPECT_TRUE(matches("lan_ip", ""));
    EXPECT_TRUE(matches("lan_ip", "lan"));
    EXPECT_TRUE(matches("lan", "lan"));
    EXPECT_FALSE(matches("wlan", "lan"));
    EXPECT_FALSE(matches("la", "lan"));
}

TEST(KeyPattern, WithWildcardsMatchesTheWholeKey) {
    EXPECT_TRUE(matches("lan_ip", "lan_*"));
    EXPECT_TRUE(matches("lan_ip", "*_ip"));
    EXPECT_TRUE(matches("lan_ip", "lan?ip"));
    EXPECT_TRUE(matches("lan1", "lan[12]"));
    EXPECT_FALSE(matches("lan3", "lan[12]"));
    EXPECT_FALSE(matches("wlan_ip", "lan_*"));
    EXPECT_FALSE(matches("lan_ip", "lan?"));
}

TEST(KeyPattern, BeginsWithAFixedPart) {
    EXPECT_EQ("lan_", fixed_part("lan_*_x"));
    EXPECT_EQ("lan", fixed_part("lan?"));
    EXPECT_EQ("", fixed_part("*"));
    EXPECT_EQ("a", fixed_part("a[b]"));
    EXPECT_EQ("a", fixed_part("a\\*"));
    EXPECT_EQ("lan", fixed_part("lan"));
    EXPECT_TRUE(matches("a*", "a\\*"));
}
