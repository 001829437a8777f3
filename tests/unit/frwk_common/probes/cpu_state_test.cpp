/*
 * The state of the processors: the steps from a tool to the record. Outputs of several versions have tests of
 * their own.
 */
#include <string>

#include "frwk_common.h"
#include "unit/frwk_common/probes/cpu_states.h"
#include "unit/frwk_common/probes/tool_fixture.h"

namespace {

using Probe = void (*)(frwk_cpustate *);

constexpr char kWholeTop[] = "CPU: 3% usr 1% sys 0% nic 95% idle 0% io\n";
constexpr char kWholeMpstat[] = "Average:     all    3.99    0.00    1.01    0.00   95.00\n";

class CpuState : public ToolTest {
  protected:
    frwk_cpustate of(Probe probe, const std::string &output) {
        tool_prints(output);
        frwk_cpustate state = kUntouchedState;
        probe(&state);
        return state;
    }

    /* The log has one line with the reason, with the probe's name. */
    void expect_no_state(Probe probe, const std::string &function, const std::string &tool,
                         const std::string &output) {
        log_.clear();
        EXPECT_EQ(kUntouchedState, of(probe, output)) << output;
        EXPECT_TRUE(
            logged_once(log_, kWarningLevel, function, "no cpu state in the output of " + tool + "!"));
        EXPECT_FALSE(log_.contains("usage=")) << log_.text();
    }
};

/* Members that half a line does not set keep this value; usage is 100 minus idle, in 32 bits. */
constexpr uint32_t kKept = kUntouchedState.usr;

}  // namespace

TEST_F(CpuState, TopsLineWithoutCommasIsReadAndLogged) {
    EXPECT_EQ((frwk_cpustate{3, 0, 1, 95, 5}), of(frwk_get_cpustate_top, kWholeTop));
    EXPECT_EQ(std::vector<std::string>{"top -n1"}, commands_);
    EXPECT_TRUE(
        logged_once(log_, kDebugLevel, "frwk_get_cpustate_top", "CPU: 3% usr 1% sys 0% nic 95% idle 0% io"));
    EXPECT_TRUE(
        logged_once(log_, kDebugLevel, "frwk_get_cpustate_top", "usage=5, usr=3, sys=1, nic=0, idle=95"));
}

TEST_F(CpuState, MpstatsLineIsRead) {
    EXPECT_EQ((frwk_cpustate{3, 0, 1, 95, 5}), of(frwk_get_cpustate_mpstat, kWholeMpstat));
    EXPECT_EQ(std::vector<std::string>{"mpstat -u 1 1"}, commands_);
    EXPECT_TRUE(
        logged_once(log_, kDebugLevel, "frwk_get_cpustate_mpstat", "usage=5, usr=3, sys=1, nic=0, idle=95"));
}

TEST_F(CpuState, TheGeneralProbeIsThatOfMpstat) {
    EXPECT_EQ((frwk_cpustate{3, 0, 1, 95, 5}), of(frwk_get_cpustate, kWholeMpstat));
    EXPECT_EQ(std::vector<std::string>{"mpstat -u 1 1"}, commands_);
}

TEST_F(CpuState, AToolThatCanNotBeStartedLeavesTheState) {
    no_tool_starts();
    frwk_cpustate state = kUntouchedState;
    frwk_get_cpustate_top(&state);
    frwk_get_cpustate_mpstat(&state);
    EXPECT_EQ(kUntouchedState, state);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_get_cpustate_top", "execute top cmd error!"));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_get_cpustate_mpstat", "execute mpstat cmd error!"));
}

TEST_F(CpuState, AToolThatPrintsNothingLeavesTheState) {
    expect_no_state(frwk_get_cpustate_top, "frwk_get_cpustate_top", "top", "");
    expect_no_state(frwk_get_cpustate_mpstat, "frwk_get_cpustate_mpstat", "mpstat", "");
}

TEST_F(CpuState, OnlyOtherLinesLeaveTheState) {
    expect_no_state(frwk_get_cpustate_top, "frwk_get_cpustate_top", "top",
                    "Mem: 1K used\n\nLoad average: 1\n");
    expect_no_state(frwk_get_cpustate_mpstat, "frwk_get_cpustate_mpstat", "mpstat",
                    "03:30:08 all 1 2 3 4\nAverage: CPU %usr\nAverage: 0 1 2 3 4\n");
}

TEST_F(CpuState, NulBytesLeaveTheState) {
    expect_no_state(frwk_get_cpustate_top, "frwk_get_cpustate_top", "top", std::string(4096, '\0'));
    expect_no_state(frwk_get_cpustate_mpstat, "frwk_get_cpustate_mpstat", "mpstat",
                    std::string(1, '\0') + kWholeMpstat);
}

TEST_F(CpuState, TheRestOfALongLineIsNoLine) {
    expect_no_state(frwk_get_cpustate_top, "frwk_get_cpustate_top", "top", std::string(256, ' ') + kWholeTop);
    expect_no_state(frwk_get_cpustate_top, "frwk_get_cpustate_top", "top", std::string(512, 'x') + kWholeTop);
    EXPECT_EQ((frwk_cpustate{3, 0, 1, 95, 5}),
              of(frwk_get_cpustate_top, std::string(1000000, 'x') + "\n" + kWholeTop));
}

TEST_F(CpuState, ALineIsCutAt256Bytes) {
    const auto line_with_the_end_of_idle_at = [](size_t size) {
        const std::string begin = "CPU: 3% usr";
        const std::string end = "95% idle";
        return begin + std::string(size - begin.size() - end.size(), ' ') + end + " 1% sys\n";
    };
    EXPECT_EQ((frwk_cpustate{3, kKept, kKept, 95, 5}),
              of(frwk_get_cpustate_top, line_with_the_end_of_idle_at(256)));
    EXPECT_EQ((frwk_cpustate{3, kKept, kKept, kKept, 100 - kKept}),
              of(frwk_get_cpustate_top, line_with_the_end_of_idle_at(257)));
}

TEST_F(CpuState, TheFirstStateLineCounts) {
    EXPECT_EQ((frwk_cpustate{3, 0, 1, 95, 5}),
              of(frwk_get_cpustate_top, std::string(kWholeTop) + "CPU: 9% usr 9% sys 9% nic 9% idle\n"));
    EXPECT_EQ((frwk_cpustate{3, 0, 1, 95, 5}),
              of(frwk_get_cpustate_mpstat, std::string(kWholeMpstat) + "Average: all 9 9 9 9 9\n"));
}

TEST_F(CpuState, HalfALineOfTopFillsWhatItNames) {
    EXPECT_EQ((frwk_cpustate{3, kKept, kKept, kKept, 100 - kKept}),
              of(frwk_get_cpustate_top, "CPU:   3% usr   1"));
}

TEST_F(CpuState, HalfALineOfMpstatKeepsIdleAndSaysSo) {
    EXPECT_EQ((frwk_cpustate{3, 0, 1, kKept, 100 - kKept}),
              of(frwk_get_cpustate_mpstat, "Average:     all    3.99    0.00    1.01    "));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_get_cpustate_mpstat",
                            "separate char is not whitespace or table!"));
}

TEST_F(CpuState, ALineEndOfAnotherSystemIsNoBlank) {
    EXPECT_EQ((frwk_cpustate{3, 0, 1, 95, 5}),
              of(frwk_get_cpustate_mpstat, "Average: all 3.99 0.00 1.01 0.00 95.00 \r\n"));
}

TEST_F(CpuState, WithoutARecordNothingIsRun) {
    no_tool_starts();
    frwk_get_cpustate_top(nullptr);
    frwk_get_cpustate_mpstat(nullptr);
    frwk_get_cpustate(nullptr);
    EXPECT_TRUE(commands_.empty());
}
