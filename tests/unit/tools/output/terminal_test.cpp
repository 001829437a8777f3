#include "output/terminal.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/test_terminal.h"

namespace {

/* A terminal of a kind that has colours. */
class Terminal : public testing::Test {
  protected:
    Terminal() {
        ::setenv("TERM", "xterm", 1);
        ::unsetenv("NO_COLOR");
    }
    ~Terminal() override { ::unsetenv("NO_COLOR"); }

    static winsize of(unsigned short rows, unsigned short columns) { return {rows, columns, 0, 0}; }
};

constexpr char kClear[] = "\033[2J\n";

TEST_F(Terminal, AFileGetsPlainAndCompleteText) {
    testing::internal::CaptureStdout();
    EXPECT_FALSE(is_terminal(Stream::kOutput));
    EXPECT_FALSE(is_screen(Stream::kOutput));
    EXPECT_EQ(80u, columns_of(Stream::kOutput));
    EXPECT_EQ(24u, rows_of(Stream::kOutput));
    EXPECT_EQ("text", styled(Stream::kOutput, Style::kAlert, "text"));
    EXPECT_EQ(kClear, shown_text(Stream::kOutput, kClear));
    EXPECT_EQ(kClear, shown_lines(Stream::kOutput, kClear));
    EXPECT_EQ("\"\033\"", shown_json(Stream::kOutput, "\"\033\""));
    (void)testing::internal::GetCapturedStdout();
}

TEST_F(Terminal, IsToldFromTheOtherStream) {
    testing::internal::CaptureStderr();
    {
        const TestTerminal screen({STDOUT_FILENO});
        EXPECT_TRUE(is_terminal(Stream::kOutput));
        EXPECT_FALSE(is_terminal(Stream::kError));
    }
    (void)testing::internal::GetCapturedStderr();
}

TEST_F(Terminal, HasTheSizeThatItReports) {
    const TestTerminal screen({STDERR_FILENO}, of(50, 132));
    EXPECT_EQ(132u, columns_of(Stream::kError));
    EXPECT_EQ(50u, rows_of(Stream::kError));
}

TEST_F(Terminal, IsNeverTakenForSmallerThanItCanBe) {
    const TestTerminal screen({STDERR_FILENO}, of(1, 1));
    EXPECT_EQ(20u, columns_of(Stream::kError));
    EXPECT_EQ(5u, rows_of(Stream::kError));
}

TEST_F(Terminal, WithoutASizeHasTheUsualOne) {
    const TestTerminal screen({STDERR_FILENO}, of(0, 0));
    EXPECT_EQ(80u, columns_of(Stream::kError));
    EXPECT_EQ(24u, rows_of(Stream::kError));
}

TEST_F(Terminal, ShowsStyles) {
    const TestTerminal screen({STDERR_FILENO});
    EXPECT_EQ("\033[1mtext\033[0m", styled(Stream::kError, Style::kStrong, "text"));
    EXPECT_EQ("\033[1;31mtext\033[0m", styled(Stream::kError, Style::kAlert, "text"));
    EXPECT_EQ("text", styled(Stream::kError, Style::kPlain, "text"));
}

TEST_F(Terminal, ShowsNoStylesToAUserWhoRefusesThem) {
    const TestTerminal screen({STDERR_FILENO});
    ::setenv("NO_COLOR", "1", 1);
    EXPECT_EQ("text", styled(Stream::kError, Style::kStrong, "text"));
    ::setenv("NO_COLOR", "", 1); /* an empty one does not count */
    EXPECT_EQ("\033[1mtext\033[0m", styled(Stream::kError, Style::kStrong, "text"));
}

TEST_F(Terminal, ThatCanNotBeDrawnOnIsNoScreen) {
    const TestTerminal screen({STDERR_FILENO});
    EXPECT_TRUE(is_screen(Stream::kError));
    ::setenv("TERM", "dumb", 1);
    EXPECT_FALSE(is_screen(Stream::kError));
    EXPECT_EQ("text", styled(Stream::kError, Style::kStrong, "text"));
    ::unsetenv("TERM");
    EXPECT_FALSE(is_screen(Stream::kError));
}

TEST_F(Terminal, GetsNoControlCharactersOfATextFromOutside) {
    const TestTerminal screen({STDERR_FILENO});
    EXPECT_EQ("\\x1b[2J\\x0a", shown_text(Stream::kError, kClear));
    EXPECT_EQ("\\x1b[2J\n", shown_lines(Stream::kError, kClear));
    EXPECT_EQ("\"\\u007f\"", shown_json(Stream::kError, "\"\177\""));
}

}  // namespace
