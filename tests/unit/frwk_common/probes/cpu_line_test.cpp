/*
 * Lines of top and mpstat, complete and malformed ones.
 */
#include "frwk_common/probes/cpu_line.h"

#include <gtest/gtest.h>

#include <string>

#include "unit/frwk_common/probes/cpu_states.h"

namespace {

frwk_cpustate top(const std::string &line) {
    EXPECT_TRUE(is_top_cpu_line(line.c_str())) << line;
    frwk_cpustate state = kUntouchedState;
    parse_top_cpu_line(line.c_str(), &state);
    return state;
}

frwk_cpustate mpstat(const std::string &line, bool has_idle = true) {
    EXPECT_TRUE(is_mpstat_cpu_line(line.c_str())) << line;
    frwk_cpustate state = kUntouchedState;
    EXPECT_EQ(has_idle, parse_mpstat_cpu_line(line.c_str(), &state)) << line;
    return state;
}

/* The value of members that a line does not set. */
constexpr uint32_t kOld = kUntouchedState.usr;

}  // namespace

/* ---- top ------------------------------------------------------------------------------------------- */

TEST(TopCpuLine, BlankSeparatedNumbersAndLabelsAreRead) {
    EXPECT_EQ((frwk_cpustate{3, 0, 1, 95, kOld}), top("CPU: 3% usr 1% sys 0% nic 95% idle 0% io"));
}

TEST(TopCpuLine, BeginsWithItsWordInAnyCase) {
    EXPECT_TRUE(is_top_cpu_line("CPU:"));
    EXPECT_TRUE(is_top_cpu_line("cpu: 1% usr"));
    EXPECT_FALSE(is_top_cpu_line("CPU 1% usr"));
    EXPECT_FALSE(is_top_cpu_line(" CPU: 1% usr"));
    EXPECT_FALSE(is_top_cpu_line("%Cpu(s):  3.1 us"));
    EXPECT_FALSE(is_top_cpu_line("Cpu(s):  3.1%us"));
    EXPECT_FALSE(is_top_cpu_line("CPU0:  3% usr"));
    EXPECT_FALSE(is_top_cpu_line("CP"));
    EXPECT_FALSE(is_top_cpu_line(""));
}

TEST(TopCpuLine, LabelsAreComparedOnTheirFirstLettersInAnyCase) {
    EXPECT_EQ((frwk_cpustate{1, 2, 3, 94, kOld}), top("CPU: 1% USR, 2% Nice, 3% system, 94% idle,"));
}

TEST(TopCpuLine, AnyOrderAndAnyBlanksWill) {
    EXPECT_EQ((frwk_cpustate{3, 2, 1, 94, kOld}), top("CPU:\t94% \t idle  1%  sys\t2%\tnic 3% usr"));
}

TEST(TopCpuLine, FractionsAreCutOff) {
    EXPECT_EQ((frwk_cpustate{12, 0, 8, 77, kOld}), top("CPU: 12.7% usr  8.9% sys  0.4% nic 77,9% idle"));
}

TEST(TopCpuLine, TheFirstNumberMayStandAtTheWord) {
    EXPECT_EQ((frwk_cpustate{100, 0, 0, 0, kOld}), top("CPU:100% usr 0% sys 0% nic 0% idle"));
}

TEST(TopCpuLine, OtherLabelsAreSkipped) {
    EXPECT_EQ((frwk_cpustate{kOld, kOld, kOld, kOld, kOld}), top("CPU: 1% io 2% irq 3% us 4% id"));
}

TEST(TopCpuLine, HalfALineFillsWhatItNames) {
    EXPECT_EQ((frwk_cpustate{3, kOld, kOld, kOld, kOld}), top("CPU: 3% usr 1%"));
    EXPECT_EQ((frwk_cpustate{3, kOld, 1, kOld, kOld}), top("CPU: 3% usr 1% sys 0% ni"));
    EXPECT_EQ((frwk_cpustate{kOld, kOld, kOld, kOld, kOld}), top("CPU: 3%"));
    EXPECT_EQ((frwk_cpustate{kOld, kOld, kOld, kOld, kOld}), top("CPU:"));
}

TEST(TopCpuLine, ANumberThatIsNoneIs0) {
    EXPECT_EQ((frwk_cpustate{0, kOld, kOld, 0, kOld}), top("CPU: nan usr %% idle"));
}

TEST(TopCpuLine, ANumberBeyond32BitsIsTheNearestThatFits) {
    EXPECT_EQ((frwk_cpustate{0x7FFFFFFF, kOld, kOld, kOld, kOld}), top("CPU: 99999999999999999999% usr"));
}

TEST(TopCpuLine, AMissingLabelShiftsTheRest) {
    EXPECT_EQ((frwk_cpustate{kOld, kOld, kOld, kOld, kOld}), top("CPU: 3% 1% sys 0% nic 95% idle"));
}

/* ---- mpstat ---------------------------------------------------------------------------------------- */

TEST(MpstatCpuLine, TheFirstThreeColumnsAndTheLastAreRead) {
    EXPECT_EQ((frwk_cpustate{13, 1, 4, 77, kOld}),
              mpstat("Average:     all   13.57    1.01    4.52    0.50    0.00    2.51    77.89"));
}

TEST(MpstatCpuLine, BeginsWithItsWordInAnyCaseAndAll) {
    EXPECT_TRUE(is_mpstat_cpu_line("Average:     all"));
    EXPECT_TRUE(is_mpstat_cpu_line("AVERAGE: all 1"));
    EXPECT_TRUE(is_mpstat_cpu_line("average:\tall\t1"));
    EXPECT_FALSE(is_mpstat_cpu_line("Average:     CPU    %usr"));
    EXPECT_FALSE(is_mpstat_cpu_line("Average:       0    1.00"));
    EXPECT_FALSE(is_mpstat_cpu_line("Average:"));
    EXPECT_FALSE(is_mpstat_cpu_line("Average"));
    EXPECT_FALSE(is_mpstat_cpu_line("03:30:08     all    1.00"));
    EXPECT_FALSE(is_mpstat_cpu_line("Durchschn.:  all    1,00"));
    EXPECT_FALSE(is_mpstat_cpu_line("Moyenne :  all    1,00"));
    EXPECT_FALSE(is_mpstat_cpu_line(""));
}

TEST(MpstatCpuLine, TabsSeparateColumnsToo) {
    EXPECT_EQ((frwk_cpustate{7, 0, 3, 89, kOld}), mpstat("Average:\tall\t7.01\t0.00\t3.99\t0.00\t89.00"));
}

TEST(MpstatCpuLine, IdleFollowsTheLastBlankBeforeAnyTab) {
    EXPECT_EQ((frwk_cpustate{7, 0, 3, 4, kOld}), mpstat("Average: all 7 0 3 4\t89"));
}

TEST(MpstatCpuLine, FractionsAreCutOffInAnyNotation) {
    EXPECT_EQ((frwk_cpustate{0, 92, 6, 1, kOld}), mpstat("Average:     all    0,99   92,50    6,00    1,99"));
}

TEST(MpstatCpuLine, HalfALineFillsTheColumnsThatAreThere) {
    EXPECT_EQ((frwk_cpustate{7, 0, 3, kOld, kOld}),
              mpstat("Average:     all    7.01    0.00    3.99", false));
    EXPECT_EQ((frwk_cpustate{7, 0, kOld, kOld, kOld}), mpstat("Average:     all    7.01    0.00", false));
    EXPECT_EQ((frwk_cpustate{7, kOld, kOld, kOld, kOld}), mpstat("Average:     all    7.01", false));
    EXPECT_EQ((frwk_cpustate{kOld, kOld, kOld, kOld, kOld}), mpstat("Average:     all", false));
}

TEST(MpstatCpuLine, ANumberThatIsNoneIs0) {
    EXPECT_EQ((frwk_cpustate{0, 0, 0, 0, kOld}), mpstat("Average: all - nan %sys %idle"));
}
