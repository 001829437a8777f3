#include "monitor_tool/process_trend.h"

#include <gtest/gtest.h>

#include "unit/tools/monitor_tool/made_report.h"

namespace {

/* A reading of a module's process, which may be none. */
ModuleReport reading(pid_t process, double started = 0, double used = 0) {
    ModuleReport report = busy("wlan", 7, 0);
    report.facts.process = process;
    report.process = process == 0 ? std::nullopt : std::optional<ProcessFacts>({used, started, 1, 0});
    return report;
}

ModuleReport after(ProcessTrend &trend, const ModuleReport &report, double now) {
    std::vector<ModuleReport> reports = {report};
    trend.add(reports, now);
    return reports[0];
}

TEST(ProcessTrend, AFirstReadingHasTheShareSinceTheStart) {
    ProcessTrend trend;
    EXPECT_DOUBLE_EQ(7, after(trend, reading(5), 100).processor);
}

TEST(ProcessTrend, ASecondReadingHasTheShareSinceTheFirst) {
    ProcessTrend trend;
    (void)after(trend, reading(5, 10, 3), 100);
    EXPECT_DOUBLE_EQ(50, after(trend, reading(5, 10, 4), 102).processor);
    EXPECT_DOUBLE_EQ(0, after(trend, reading(5, 10, 4), 104).processor);
    EXPECT_DOUBLE_EQ(7, after(trend, reading(5, 10, 4), 104).processor) << "no time has passed";
}

TEST(ProcessTrend, AnotherProcessIsARestart) {
    ProcessTrend trend;
    EXPECT_EQ(0u, after(trend, reading(5), 100).restarts);
    EXPECT_EQ(0u, after(trend, reading(5), 101).restarts);
    const ModuleReport restarted = after(trend, reading(6, 101.5), 102);
    EXPECT_EQ(1u, restarted.restarts);
    EXPECT_DOUBLE_EQ(7, restarted.processor) << "since its start";
    EXPECT_EQ(1u, after(trend, reading(6, 101.5), 103).restarts);
    EXPECT_EQ(2u, after(trend, reading(6, 103.5), 104).restarts) << "the number was used again";
}

TEST(ProcessTrend, AModuleThatIsGoneForAWhileIsRestartedOnce) {
    ProcessTrend trend;
    EXPECT_EQ(0u, after(trend, reading(0), 99).restarts);
    EXPECT_EQ(0u, after(trend, reading(5), 100).restarts) << "its first start";
    EXPECT_EQ(0u, after(trend, reading(0), 101).restarts);
    EXPECT_EQ(1u, after(trend, reading(6, 102), 103).restarts);
    EXPECT_EQ(1u, after(trend, reading(0), 104).restarts);
}

TEST(ProcessTrend, ModulesAreSeenApart) {
    ProcessTrend trend;
    ModuleReport other = reading(5);
    other.facts.id = 2;
    std::vector<ModuleReport> both = {reading(4), other};
    trend.add(both, 100);
    both = {reading(4), other};
    both[1].facts.process = 6;
    trend.add(both, 101);
    EXPECT_EQ(0u, both[0].restarts);
    EXPECT_EQ(1u, both[1].restarts);
}

}  // namespace
