#include "apptest/config_finding.h"

#include <gtest/gtest.h>

namespace {

TEST(ConfigFinding, CountsLinesFromOne) {
    const std::string_view text = "a\nbc\n\nd";
    EXPECT_EQ(1u, line_at(text, 0));
    EXPECT_EQ(1u, line_at(text, 1)) << "a line end belongs to its line";
    EXPECT_EQ(2u, line_at(text, 2));
    EXPECT_EQ(3u, line_at(text, 5));
    EXPECT_EQ(4u, line_at(text, 6));
}

TEST(ConfigFinding, AtTheEndIsInTheLastLine) {
    EXPECT_EQ(1u, line_at("", 0));
    EXPECT_EQ(2u, line_at("a\n", 2));
}

}  // namespace
