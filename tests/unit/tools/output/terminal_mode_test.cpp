#include "output/terminal_mode.h"

#include <gtest/gtest.h>

#include "support/test_terminal.h"

namespace {

TEST(TerminalMode, HidesWhatIsTypedUntilItsEnd) {
    const TestTerminal terminal({STDIN_FILENO});
    {
        const TerminalMode hidden{HiddenTyping()};
        EXPECT_TRUE(hidden.changed());
        EXPECT_FALSE(terminal.echoes());
        EXPECT_TRUE(terminal.takes_lines());
    }
    EXPECT_TRUE(terminal.echoes());
}

TEST(TerminalMode, PassesSingleKeysOnUntilItsEnd) {
    const TestTerminal terminal({STDIN_FILENO});
    {
        const TerminalMode keys{SingleKeys()};
        EXPECT_TRUE(keys.changed());
        EXPECT_FALSE(terminal.echoes());
        EXPECT_FALSE(terminal.takes_lines());
        terminal.type("q");
        char key = 0;
        EXPECT_EQ(1, ::read(STDIN_FILENO, &key, 1)) << "without a line end";
        EXPECT_EQ('q', key);
    }
    EXPECT_TRUE(terminal.echoes());
    EXPECT_TRUE(terminal.takes_lines());
}

/* Ctrl-Z would stop the tool with the terminal in this mode. */
TEST(TerminalMode, LeavesOnlyCtrlCASignal) {
    const TestTerminal terminal({STDIN_FILENO});
    const termios before = terminal.mode();
    const TerminalMode keys{SingleKeys()};
    EXPECT_EQ(_POSIX_VDISABLE, terminal.mode().c_cc[VSUSP]);
    EXPECT_EQ(_POSIX_VDISABLE, terminal.mode().c_cc[VQUIT]);
    EXPECT_EQ(before.c_cc[VINTR], terminal.mode().c_cc[VINTR]);
}

TEST(TerminalMode, DoesNothingWithoutATerminal) {
    const PipedInput input("text\n");
    {
        const TerminalMode hidden{HiddenTyping()};
        EXPECT_FALSE(hidden.changed());
    }
    char first = 0;
    EXPECT_EQ(1, ::read(STDIN_FILENO, &first, 1)) << "the input is still there";
}

}  // namespace
