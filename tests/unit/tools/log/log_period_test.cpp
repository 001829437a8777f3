#include "log/log_period.h"

#include <gtest/gtest.h>

#include "log/log_time.h"

namespace {

std::time_t at(const std::string &clock) {
    return time_of_line("2026-11-22T" + clock + "Z", 0).value_or(0);
}

std::string line_at(const std::string &clock) {
    return "2026-11-22T" + clock + "Z";
}

TEST(LogPeriod, WithoutLimitsTakesEverything) {
    LogPeriod all;
    EXPECT_FALSE(all.is_limited());
    EXPECT_TRUE(all.takes(""));
    EXPECT_TRUE(all.takes(line_at("10:00:00")));
}

TEST(LogPeriod, IncludesItsEnds) {
    LogPeriod period(at("10:00:00"), at("11:00:00"), 0);
    EXPECT_FALSE(period.takes(line_at("09:59:59")));
    EXPECT_TRUE(period.takes(line_at("10:00:00")));
    EXPECT_TRUE(period.takes(line_at("11:00:00.999")));
    EXPECT_FALSE(period.takes(line_at("11:00:01")));
}

TEST(LogPeriod, MayHaveOneEnd) {
    LogPeriod since(at("10:00:00"), std::nullopt, 0);
    EXPECT_FALSE(since.takes(line_at("09:00:00")));
    EXPECT_TRUE(since.takes(line_at("23:00:00")));
    LogPeriod until(std::nullopt, at("10:00:00"), 0);
    EXPECT_TRUE(until.takes(line_at("09:00:00")));
    EXPECT_FALSE(until.takes(line_at("23:00:00")));
}

TEST(LogPeriod, ALineWithoutATimeBelongsToTheOneBeforeIt) {
    LogPeriod period(at("10:00:00"), std::nullopt, 0);
    EXPECT_FALSE(period.takes("")) << "before the first time";
    EXPECT_TRUE(period.takes(line_at("10:00:00")));
    EXPECT_TRUE(period.takes(""));
    EXPECT_FALSE(period.takes(line_at("09:00:00")));
    EXPECT_FALSE(period.takes(""));
}

}  // namespace
