/*
 * A tool's output line by line.
 */
#include "frwk_common/probes/tool_output.h"

#include <sys/time.h>

#include <csignal>
#include <string>
#include <vector>

#include "support/open_descriptors.h"
#include "unit/frwk_common/probes/tool_fixture.h"

namespace {

class ToolOutputTest : public ToolTest {
  protected:
    static std::vector<std::string> lines_of(const char *command, size_t size) {
        ToolOutput output(command);
        EXPECT_TRUE(static_cast<bool>(output));
        std::vector<std::string> lines;
        std::string line(size, '#');
        while (output.next_line(line.data(), size)) {
            lines.emplace_back(line.c_str());
        }
        return lines;
    }
};

using Lines = std::vector<std::string>;

/* Interrupts the process over and over, with a handler that restarts no call. */
class Interruptions {
  public:
    Interruptions() {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &before_);
        set_timer(1000);
    }
    ~Interruptions() {
        set_timer(0);
        sigaction(SIGALRM, &before_, nullptr);
    }
    Interruptions(const Interruptions &) = delete;
    Interruptions &operator=(const Interruptions &) = delete;

  private:
    static void set_timer(int microseconds) {
        const itimerval timer = {{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
    struct sigaction before_ {};
};

}  // namespace

TEST_F(ToolOutputTest, GivesLineByLineWithItsEnd) {
    EXPECT_EQ((Lines{"one\n", "\n", "two\r\n"}), lines_of("printf 'one\\n\\ntwo\\r\\n'", 16));
}

TEST_F(ToolOutputTest, ALastLineWithoutAnEndCounts) {
    EXPECT_EQ((Lines{"one\n", "two"}), lines_of("printf 'one\\ntwo'", 16));
}

TEST_F(ToolOutputTest, NoOutputIsNoLineAndLeavesTheBuffer) {
    ToolOutput output("true");
    char line[8] = "before";
    EXPECT_FALSE(output.next_line(line, sizeof(line)));
    EXPECT_STREQ("before", line);
}

TEST_F(ToolOutputTest, ALongLineIsCutAndItsRestIsNoLine) {
    EXPECT_EQ((Lines{"abc", "gh\n", "ijk", "m\n"}), lines_of("printf 'abcdef\\ngh\\nijkl\\nm\\n'", 4));
}

TEST_F(ToolOutputTest, ALineThatJustFitsWithoutItsEndIsWhole) {
    EXPECT_EQ((Lines{"abc", "d\n"}), lines_of("printf 'abc\\nd\\n'", 4));
}

TEST_F(ToolOutputTest, ALongLastLineEndsTheOutput) {
    EXPECT_EQ((Lines{"abc"}), lines_of("printf abcdef", 4));
}

TEST_F(ToolOutputTest, ASignalIsNoEnd) {
    const Interruptions interruptions;
    EXPECT_EQ((Lines{"one\n", "two\n"}), lines_of("printf o; sleep 0.05; echo ne; sleep 0.05; echo two", 16));
}

TEST_F(ToolOutputTest, AToolThatCanNotBeStartedIsTold) {
    no_tool_starts();
    EXPECT_FALSE(static_cast<bool>(ToolOutput("echo 1")));
}

TEST_F(ToolOutputTest, TheFirstLineOfAnEndlessOutputIsEnough) {
    ToolOutput output("yes 2>/dev/null");
    char line[8] = "";
    EXPECT_TRUE(output.next_line(line, sizeof(line)));
    EXPECT_STREQ("y\n", line);
}

TEST_F(ToolOutputTest, NoDescriptorStaysOpen) {
    const size_t before = open_descriptors();
    lines_of("echo 1", 8);
    EXPECT_EQ(before, open_descriptors());
}
