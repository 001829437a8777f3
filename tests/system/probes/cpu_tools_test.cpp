/*
 * The state of the processors from the real top and mpstat, and from tools that fail.
 */
#include <unistd.h>

#include <string>
#include <vector>

#include "support/tool_record.h"
#include "system/probes/probe_process.h"

namespace {

constexpr char kUntouched[] = "7777 7777 7777 7777 7777";
constexpr long long kCut = 4; /* each of four numbers loses its fraction */

class CpuTools : public ProbeTest {
  protected:
    /* Whatever the load: the shares add up to 100, and usage is 100 minus idle. */
    static void expect_state(const std::string &line) {
        const std::vector<long long> state = numbers_of(line);
        ASSERT_EQ(5u, state.size()) << line;
        for (const long long share : state) {
            EXPECT_GE(share, 0) << line;
            EXPECT_LE(share, 100) << line;
        }
        EXPECT_LE(state[0] + state[1] + state[2] + state[3], 100 + kCut) << line;
        EXPECT_EQ(100 - state[3], state[4]) << line;
    }
};

}  // namespace

TEST_F(CpuTools, BusyboxTopIsRead) {
    use_busybox("top");
    expect_state(ask({"top"}));
    record_tool("processors", "top of busybox", kBusyboxVersion);
}

TEST_F(CpuTools, MpstatIsRead) {
    expect_state(ask({"mpstat"}));
    record_tool("processors", "mpstat of sysstat", "mpstat -V");
}

TEST_F(CpuTools, ATopThatNeedsATerminalLeavesTheState) {
    ASSERT_EQ(0, access("/usr/bin/top", X_OK)) << "procps is not installed";
    EXPECT_EQ(kUntouched, ask({"top"}));
    EXPECT_NE(std::string::npos, errors_.find("no cpu state in the output of top!")) << errors_;
    record_tool("processors", "top of procps, which needs a terminal: no state", "top -V");
}

TEST_F(CpuTools, AMissingToolLeavesTheState) {
    tools_.hide_others();
    EXPECT_EQ(kUntouched, ask({"top"}));
    EXPECT_EQ(kUntouched, ask({"mpstat"}));
}

TEST_F(CpuTools, AToolThatPrintsNothingLeavesTheState) {
    tools_.put_script("top", "exit 0");
    tools_.put_script("mpstat", "exit 1");
    EXPECT_EQ(kUntouched, ask({"top"}));
    EXPECT_EQ(kUntouched, ask({"mpstat"}));
}

TEST_F(CpuTools, AToolThatDiesInItsLineFillsWhatItPrinted) {
    tools_.put_script("top", "printf %s 'CPU:   3% usr   1% sy'; kill -9 $$");
    EXPECT_EQ("3 7777 7777 7777 " + std::to_string(uint32_t{100} - 7777), ask({"top"}));
    tools_.put_script("mpstat", "printf %s 'Average:     all    3.00    2.0'; kill -9 $$");
    EXPECT_EQ("3 2 7777 7777 " + std::to_string(uint32_t{100} - 7777), ask({"mpstat"}));
    EXPECT_NE(std::string::npos, errors_.find("separate char is not whitespace or table!")) << errors_;
}

TEST_F(CpuTools, AToolThatKnowsTheModulesLanguageIsAskedUntranslated) {
    set_locale("de_DE.UTF-8");
    tools_.put_script("mpstat",
                      "case $LC_ALL in C) average=Average: ;; *) average=Durchschn.: ;; esac\n"
                      "echo \"$average  all  10.00  0.00  20.00  70.00\"");
    EXPECT_EQ("10 0 20 70 30", ask({"mpstat"}));
}

TEST_F(CpuTools, AToolOfAnotherLanguageLeavesTheState) {
    tools_.put_script("top", "echo 'Prozessor:  3% usr  1% sys  0% nic 95% idle'");
    EXPECT_EQ(kUntouched, ask({"top"}));
    tools_.put_script("mpstat", "echo 'Durchschn.:  all    0,00   90,00    7,50    1,50    1,00'");
    EXPECT_EQ(kUntouched, ask({"mpstat"}));
}

TEST_F(CpuTools, AToolThatPrintsForEverEndsWithItsReader) {
    tools_.put_script("top", "echo 'CPU:  3% usr  1% sys  0% nic 95% idle'; exec yes");
    EXPECT_EQ("3 0 1 95 5", ask({"top"}));
}

TEST_F(CpuTools, AToolThatPrintsNulBytesAndMuchElseIsReadOn) {
    tools_.put_script("top",
                      "head -c 20000000 /dev/zero; echo; echo 'CPU:  3% usr  1% sys  0% nic 95% idle'");
    EXPECT_EQ("3 0 1 95 5", ask({"top"}));
}
