#include "support/log_line.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

/* A line under construction; what comes from outside stands in quotation marks. */
struct Written {
    std::string text;

    void add(const char *part) { text += part; }
    void add_escaped(const char *part) { text += std::string("'") + part + "'"; }
    void add_number(long number) { text += std::to_string(number); }
};

std::tm fifth_of_november() {
    std::tm time = {};
    time.tm_year = 126;
    time.tm_mon = 10;
    time.tm_mday = 5;
    time.tm_hour = 7;
    time.tm_min = 2;
    time.tm_sec = 9;
    return time;
}

std::string without_marks(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\''), text.end());
    return text;
}

/* "TIME|MODULE|PROCESS|LEVEL|TEXT" */
std::string shown(const LogRecord &line) {
    return line.time + "|" + line.module + "|" + line.process + "|" + level_name(line.level) + "|" +
           line.text;
}

std::string parsed(const std::string &text) {
    return shown(parse_log_line(text));
}

TEST(LogLine, OfTheDebugChannelBeginsWithTimeLevelAndModule) {
    Written line;
    add_debug_head(line, fifth_of_november(), 23, 4, "wlan");
    EXPECT_EQ("2026-11-05 07:02:09.023 warning 'wlan' ", line.text);
    Written other;
    add_debug_head(other, fifth_of_november(), 999, 12, "wlan");
    EXPECT_EQ("2026-11-05 07:02:09.999 other 'wlan' ", other.text);
}

TEST(LogLine, OfTheSystemLogBeginsWithPriorityTimeModuleAndProcess) {
    Written line;
    add_system_head(line, 188, fifth_of_november(), "wlan", 17);
    EXPECT_EQ("<188>Nov  5 07:02:09 'wlan'[17]: ", line.text);
}

TEST(LogLine, SaysWhereItWasWritten) {
    Written body;
    add_log_body(body, "a.cpp", "f", 12, "text");
    EXPECT_EQ("'a.cpp' 'f':12 'text'", body.text);
}

TEST(LogLine, IsReadAsItWasWritten) {
    Written debug;
    add_debug_head(debug, fifth_of_november(), 23, 8, "wlan");
    add_log_body(debug, "a.cpp", "f", 1, "text");
    EXPECT_EQ("2026-11-05 07:02:09.023|wlan||verbose|a.cpp f:1 text", parsed(without_marks(debug.text)));

    Written system;
    add_system_head(system, 188, fifth_of_november(), "wlan", 17);
    add_log_body(system, "a.cpp", "f", 1, "text");
    EXPECT_EQ("Nov  5 07:02:09|wlan|17|warning|a.cpp f:1 text", parsed(without_marks(system.text)));
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

TEST(LogLine, KnowsLevelsByNameShortFormAndNumber) {
    EXPECT_EQ(4, level_named("warning"));
    EXPECT_EQ(4, level_named("WARN"));
    EXPECT_EQ(4, level_named("4"));
    EXPECT_EQ(8, level_named("verbose"));
    EXPECT_EQ(kNoLevel, level_named("9"));
    EXPECT_EQ(kNoLevel, level_named(""));
    EXPECT_STREQ("", level_name(kNoLevel));
    EXPECT_STREQ("", level_name(9));
    EXPECT_STREQ("other", level_name(9, "other"));
    EXPECT_STREQ("emergency", level_name(0, "other"));
    EXPECT_EQ(9u, level_names().size());
}

}  // namespace
