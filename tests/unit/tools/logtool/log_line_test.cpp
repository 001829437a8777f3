#include "logtool/log_line.h"

#include <gtest/gtest.h>

namespace {

/* "TIME|MODULE|PROCESS|LEVEL|TEXT" */
std::string shown(const LogLine &line) {
    return line.time + "|" + line.module + "|" + line.process + "|" + level_name(line.level) + "|" +
           line.text;
}

std::string parsed(const std::string &text) {
    return shown(parse_log_line(text));
}

std::string from_journal(const std::string &text) {
    std::string cursor = "before";
    const std::string line = shown(parse_journal_line(text, &cursor));
    return line + "|" + cursor;
}

TEST(LogLine, TakesLinesOfSyslogApart) {
    EXPECT_EQ("Nov 21 04:40:00|wlan|123||a.cpp f:1 text",
              parsed("Nov 21 04:40:00 box wlan[123]: a.cpp f:1 text"));
    EXPECT_EQ("Nov  1 04:40:00|cron|||text", parsed("Nov  1 04:40:00 box cron: text"));
    EXPECT_EQ("Nov  1 04:40:00|wlan|1||", parsed("Nov  1 04:40:00 box wlan[1]:"));
}

TEST(LogLine, TakesLinesWithFacilityAndLevelApart) {
    EXPECT_EQ("Nov 21 04:40:00|wlan|123|warning|text",
              parsed("Nov 21 04:40:00 box local7.warn wlan[123]: text"));
    EXPECT_EQ("Nov 21 04:40:00|wlan|123|error|text", parsed("Nov 21 04:40:00 local7.err wlan[123]: text"));
}

TEST(LogLine, ANumberIsNoLevelInALog) {
    EXPECT_EQ("Nov 21 04:40:00||||local7.4 box text", parsed("Nov 21 04:40:00 local7.4 box text"));
    EXPECT_EQ("Nov 21 04:40:00||||4 wlan text", parsed("Nov 21 04:40:00 4 wlan text"));
}

TEST(LogLine, ALevelWithoutANameBehindItIsTaken) {
    EXPECT_EQ("Nov 21 04:40:00|||error|no name", parsed("Nov 21 04:40:00 local7.err no name"));
}

TEST(LogLine, TakesTimesWithTheirZone) {
    EXPECT_EQ("2026-11-21T04:40:00.123456+00:00|wlan|1||text",
              parsed("2026-11-21T04:40:00.123456+00:00 box wlan[1]: text"));
}

TEST(LogLine, TakesAPriorityInFront) {
    EXPECT_EQ("Nov 21 04:40:00|wlan|1|warning|text", parsed("<188>Nov 21 04:40:00 wlan[1]: text"));
    EXPECT_EQ("||||<1888>x", parsed("<1888>x"));
    for (const char *text : {"<x>", "<>", "<1234>", "<", "<1"}) {
        EXPECT_EQ(std::string("||||") + text, parsed(text));
    }
}

TEST(LogLine, TakesLinesOfTheDebugChannelApart) {
    EXPECT_EQ("2026-11-21 04:40:00.123|wlan||verbose|a.cpp f:1 text",
              parsed("2026-11-21 04:40:00.123 verbose wlan a.cpp f:1 text"));
}

TEST(LogLine, WhatIsOfNoKnownFormIsAllText) {
    EXPECT_EQ("||||garbage", parsed("garbage"));
    EXPECT_EQ("||||", parsed(""));
    EXPECT_EQ("Nov 21 04:40:00||||no tag here", parsed("Nov 21 04:40:00 no tag here"));
    EXPECT_EQ("Nov 21 04:40:00||||:", parsed("Nov 21 04:40:00 :"));
    EXPECT_EQ("Nov 21 04:40:00||||", parsed("Nov 21 04:40:00"));
    EXPECT_EQ("||||Nov x1 04:40:00 a b: c", parsed("Nov x1 04:40:00 a b: c"));
    EXPECT_EQ("||||Nov 21 04:4x:00 a b: c", parsed("Nov 21 04:4x:00 a b: c"));
}

TEST(LogLine, TakesLinesOfTheJournalApart) {
    EXPECT_EQ("|wlan|7|error|text|s=1",
              from_journal(R"({"SYSLOG_IDENTIFIER":"wlan","SYSLOG_PID":"7","PRIORITY":"3","MESSAGE":"text",)"
                           R"("__CURSOR":"s=1"})"));
    EXPECT_EQ("|init|1|||before", from_journal(R"({"_COMM":"init","_PID":"1","MESSAGE":null})"));
    EXPECT_EQ("||||a\033b|before", from_journal(R"({"MESSAGE":[97,27,98]})"));
    EXPECT_EQ("||||no JSON|before", from_journal("no JSON"));
    std::string cursor;
    EXPECT_EQ(15u, parse_journal_line(R"({"__REALTIME_TIMESTAMP":"1795000000000000"})", &cursor).time.size());
}

TEST(LogLine, KnowsLevelsByNameShortFormAndNumber) {
    EXPECT_EQ(4, level_named("warning"));
    EXPECT_EQ(4, level_named("WARN"));
    EXPECT_EQ(4, level_named("4"));
    EXPECT_EQ(8, level_named("verbose"));
    EXPECT_EQ(kNoLevel, level_named("9"));
    EXPECT_EQ(kNoLevel, level_named(""));
    EXPECT_EQ("", level_name(kNoLevel));
    EXPECT_EQ("", level_name(9));
    EXPECT_EQ(9u, level_names().size());
}

}  // namespace
