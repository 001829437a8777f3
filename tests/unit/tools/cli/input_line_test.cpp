#include "cli/input_line.h"

#include <gtest/gtest.h>

#include "support/test_terminal.h"

namespace {

/* The next line of the input; "(end)" after the last one. */
std::string next_line(bool hidden = false) {
    std::string line = "untouched";
    return read_input_line("value: ", hidden, &line) ? line : "(end)";
}

TEST(InputLine, IsReadWithoutItsEndAndWithoutTheNextOne) {
    const PipedInput input("first\nsecond\n");
    EXPECT_EQ("first", next_line());
    char left = 0;
    EXPECT_EQ(1, ::read(STDIN_FILENO, &left, 1));
    EXPECT_EQ('s', left) << "what follows is for whoever reads next";
}

TEST(InputLine, MayBeEmptyOrLackItsEnd) {
    const PipedInput input("\nlast");
    EXPECT_EQ("", next_line());
    EXPECT_EQ("last", next_line());
    EXPECT_EQ("(end)", next_line());
}

TEST(InputLine, IsNotAskedForInAPipe) {
    const PipedInput input("text\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ("text", next_line());
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(InputLine, OfASecretMayBePiped) {
    const PipedInput input("secret\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ("secret", next_line(true));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(InputLine, IsAskedForOnATerminal) {
    TestTerminal terminal({STDIN_FILENO, STDERR_FILENO});
    terminal.type("typed\n");
    EXPECT_EQ("typed", next_line());
    EXPECT_TRUE(terminal.shows("value: "));
    EXPECT_TRUE(terminal.echoes());
}

}  // namespace
