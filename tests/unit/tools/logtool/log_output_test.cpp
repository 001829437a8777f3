#include "logtool/log_output.h"

#include <gtest/gtest.h>

namespace {

LogRecord line_at(const std::string &time, const std::string &text) {
    LogRecord line;
    line.time = time;
    line.text = text;
    return line;
}

std::string printed(LogOutput &output, const std::vector<LogRecord> &lines) {
    testing::internal::CaptureStdout();
    for (const LogRecord &line : lines) {
        (void)output.take(line);
    }
    (void)output.flush();
    return testing::internal::GetCapturedStdout();
}

TEST(LogOutput, LeavesOutLinesOfOtherTimes) {
    LogOutput output(LogFilter(), 0, false);
    output.limit_to(LogPeriod(1, std::nullopt, 0));
    EXPECT_EQ("1970-01-01T00:00:01Z new\nnewer\n",
              printed(output, {line_at("1970-01-01T00:00:00Z", "old"), line_at("", "older"),
                               line_at("1970-01-01T00:00:01Z", "new"), line_at("", "newer")}));
    EXPECT_EQ(4u, output.taken());
    EXPECT_EQ(2u, output.wanted());
}

TEST(LogOutput, CountsTheLastLinesOfThePeriod) {
    LogOutput output(LogFilter(), 1, false);
    output.limit_to(LogPeriod(std::nullopt, 1, 0));
    EXPECT_EQ("1970-01-01T00:00:01Z b\n",
              printed(output, {line_at("1970-01-01T00:00:00Z", "a"), line_at("1970-01-01T00:00:01Z", "b"),
                               line_at("1970-01-01T00:00:02Z", "c")}));
}

/* What a filter leaves out still dates the lines after it. */
TEST(LogOutput, ALineOfAnotherModuleDatesTheNext) {
    LogFilter filter;
    filter.text = "want";
    LogOutput output(filter, 0, false);
    output.limit_to(LogPeriod(1, std::nullopt, 0));
    EXPECT_EQ("wanted\n", printed(output, {line_at("1970-01-01T00:00:01Z", "other"), line_at("", "wanted")}));
}

}  // namespace
