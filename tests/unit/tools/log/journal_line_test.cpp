#include "log/journal_line.h"

#include <gtest/gtest.h>

namespace {

/* "TIME|MODULE|PROCESS|LEVEL|TEXT|CURSOR" */
std::string from_journal(const std::string &text) {
    std::string cursor = "before";
    const LogRecord line = parse_journal_line(text, &cursor);
    return line.time + "|" + line.module + "|" + line.process + "|" + level_name(line.level) + "|" +
           line.text + "|" + cursor;
}

TEST(JournalLine, IsTakenApart) {
    EXPECT_EQ("|wlan|7|error|text|s=1",
              from_journal(R"({"SYSLOG_IDENTIFIER":"wlan","SYSLOG_PID":"7","PRIORITY":"3","MESSAGE":"text",)"
                           R"("__CURSOR":"s=1"})"));
    EXPECT_EQ("|init|1|||before", from_journal(R"({"_COMM":"init","_PID":"1","MESSAGE":null})"));
    EXPECT_EQ("||||a\033b|before", from_journal(R"({"MESSAGE":[97,27,98]})"));
    EXPECT_EQ("||||no JSON|before", from_journal("no JSON"));
    std::string cursor;
    EXPECT_EQ(15u, parse_journal_line(R"({"__REALTIME_TIMESTAMP":"1795000000000000"})", &cursor).time.size());
}

}  // namespace
