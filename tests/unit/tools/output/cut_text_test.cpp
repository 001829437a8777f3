#include "output/cut_text.h"

#include <gtest/gtest.h>

namespace {

TEST(CutText, LeavesATextThatFits) {
    EXPECT_EQ("text", cut_text("text", 4));
    EXPECT_EQ("", cut_text("", 0));
}

TEST(CutText, KeepsTheBytesThatFit) {
    EXPECT_EQ("tex", cut_text("text", 3));
    EXPECT_EQ("", cut_text("text", 0));
}

TEST(CutText, SplitsNoCharacter) {
    const std::string text = "a\xe2\x82\xac"; /* a letter and three bytes */
    EXPECT_EQ(text, cut_text(text, 4));
    EXPECT_EQ("a", cut_text(text, 3));
    EXPECT_EQ("a", cut_text(text, 2));
    EXPECT_EQ("", cut_text("\xe2\x82\xac", 2));
}

}  // namespace
