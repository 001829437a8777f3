#include "zndb_tool/value_list.h"

#include <gtest/gtest.h>

namespace {

using Items = std::vector<std::string>;

TEST(ValueList, TakesAListApart) {
    EXPECT_EQ((Items{"a", "b,c", "d&e"}), split_list("a,b&#39;c,d&amp;e"));
    EXPECT_EQ((Items{"a"}), split_list("a"));
    EXPECT_EQ(Items{}, split_list(""));
}

TEST(ValueList, KeepsEmptyItems) {
    EXPECT_EQ((Items{"", ""}), split_list(","));
    EXPECT_EQ((Items{"a", "", "b", ""}), split_list("a,,b,"));
}

TEST(ValueList, PutsTogetherWhatItTookApart) {
    const Items items = {"&&&,,,", "", "plain", std::string(500, '&')};
    EXPECT_EQ(items, split_list(join_list(items)));
    EXPECT_EQ("a&#39;b,c&amp;d", join_list({"a,b", "c&d"}));
    EXPECT_EQ("", join_list({}));
}

}  // namespace
