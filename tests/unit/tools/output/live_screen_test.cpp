#include "output/live_screen.h"

#include <gtest/gtest.h>

#include <csignal>

#include "support/test_terminal.h"

namespace {

constexpr int kPatienceMs = static_cast<int>(std::chrono::milliseconds(kPatience).count());

class LiveScreenTest : public testing::Test {
  protected:
    /* The bytes that a drawing sends to a file, which is taken for 24 lines. */
    static std::string drawn(const std::vector<ScreenLine> &lines) {
        const SignalWatch watch;
        testing::internal::CaptureStdout();
        { EXPECT_TRUE(LiveScreen(watch).draw(lines)); }
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(LiveScreenTest, DrawsLinesFromTheTopAndErasesTheRest) {
    EXPECT_EQ(
        "\033[?1049h\033[?25l"
        "\033[Hfirst\033[K\nsecond\033[K\033[J"
        "\033[?25h\033[?1049l",
        drawn({{"first", Style::kPlain}, {"second", Style::kPlain}}));
}

/* A line too many would scroll the first one away. */
TEST_F(LiveScreenTest, LeavesOutLinesBelowTheLastRow) {
    std::vector<ScreenLine> lines;
    for (int i = 1; i <= 30; ++i) {
        lines.push_back({"line " + std::to_string(i), Style::kPlain});
    }
    const std::string text = drawn(lines);
    EXPECT_NE(std::string::npos, text.find("line 24\033[K\033[J"));
    EXPECT_EQ(std::string::npos, text.find("line 25"));
}

TEST_F(LiveScreenTest, ShowsLinesOnTheTerminal) {
    const SignalWatch watch;
    TestTerminal terminal({STDIN_FILENO, STDOUT_FILENO});
    const LiveScreen screen(watch);
    EXPECT_TRUE(screen.draw({{"\033[2Jname", Style::kPlain}}));
    EXPECT_TRUE(terminal.shows("\\x1b[2Jname")) << "text from outside must not control the terminal";
}

TEST_F(LiveScreenTest, TakesKeysOfOneByteAndOfMore) {
    const SignalWatch watch;
    const TestTerminal terminal({STDIN_FILENO, STDOUT_FILENO});
    LiveScreen screen(watch);
    terminal.type("q\033[A");
    EXPECT_EQ('q', screen.wait_for_key(kPatienceMs));
    EXPECT_EQ(kUp, screen.wait_for_key(kPatienceMs));
    EXPECT_EQ(kNoKey, screen.wait_for_key(0));
}

TEST_F(LiveScreenTest, TakesAnEscapeWithNothingAfterItForTheKey) {
    const SignalWatch watch;
    const TestTerminal terminal({STDIN_FILENO, STDOUT_FILENO});
    LiveScreen screen(watch);
    terminal.type("\033");
    int key = kNoKey;
    EXPECT_TRUE(wait_until([&] { return (key = screen.wait_for_key(100)) != kNoKey; }));
    EXPECT_EQ(kEscape, key);
}

TEST_F(LiveScreenTest, ASignalEndsTheWaitForAKey) {
    const SignalWatch watch;
    const TestTerminal terminal({STDIN_FILENO, STDOUT_FILENO});
    LiveScreen screen(watch);
    ASSERT_EQ(0, std::raise(SIGINT));
    EXPECT_EQ(kNoKey, screen.wait_for_key(kPatienceMs));
    EXPECT_EQ(SIGINT, SignalWatch::caught());
}

TEST_F(LiveScreenTest, ReadsNoKeysOfInputThatIsNoTerminal) {
    const PipedInput input("q");
    const SignalWatch watch;
    testing::internal::CaptureStdout();
    EXPECT_EQ(kNoKey, LiveScreen(watch).wait_for_key(0));
    (void)testing::internal::GetCapturedStdout();
    char left = 0;
    EXPECT_EQ(1, ::read(STDIN_FILENO, &left, 1));
}

}  // namespace
