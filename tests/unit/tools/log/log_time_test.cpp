#include "log/log_time.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace {

constexpr std::time_t kNow = 1795348800; /* 2026-11-22 12:00:00 UTC, a Sunday */

/* The time zone of the process until the end of the scope. */
class Zone {
  public:
    explicit Zone(const char *name) {
        ::setenv("TZ", name, 1);
        ::tzset();
    }
    ~Zone() {
        ::unsetenv("TZ");
        ::tzset();
    }
    Zone(const Zone &) = delete;
    Zone &operator=(const Zone &) = delete;
};

/* In UTC, whatever the zone. */
std::string text_of(std::time_t time) {
    std::tm parts = {};
    char text[32] = "";
    (void)::gmtime_r(&time, &parts);
    (void)std::strftime(text, sizeof(text), "%F %T", &parts);
    return text;
}

std::string read(const std::string &word) {
    std::time_t time = 0;
    const std::string problem = read_time_word(word, kNow, &time);
    return problem.empty() ? text_of(time) : "none";
}

std::string of_line(const std::string &text) {
    const std::optional<std::time_t> time = time_of_line(text, kNow);
    return time ? text_of(*time) : "none";
}

class LogTime : public testing::Test {
    const Zone utc_{"UTC0"};
};

TEST_F(LogTime, TakesDaysAndClocks) {
    EXPECT_EQ("2026-11-22 10:00:00", read("2026-11-22 10:00"));
    EXPECT_EQ("2026-11-20 23:59:59", read("2026-11-20 23:59:59"));
    EXPECT_EQ("2026-11-20 23:59:59", read(" 2026-11-20  23:59:59.5 "));
    EXPECT_EQ("2026-11-20 10:00:00", read("2026-11-20T10:00:00"));
    EXPECT_EQ("2026-11-20 00:00:00", read("2026-11-20"));
    EXPECT_EQ("2026-11-22 10:00:00", read("10:00"));
    EXPECT_EQ("2026-11-22 09:05:30", read("9:05:30"));
    EXPECT_EQ("2026-11-22 23:00:00", read("23:00")) << "later today";
}

TEST_F(LogTime, TakesWordsForDays) {
    EXPECT_EQ("2026-11-22 12:00:00", read("now"));
    EXPECT_EQ("2026-11-22 00:00:00", read("today"));
    EXPECT_EQ("2026-11-21 00:00:00", read("YESTERDAY"));
    EXPECT_EQ("2026-11-23 00:00:00", read("tomorrow"));
    EXPECT_EQ("2026-11-21 18:30:00", read("yesterday 18:30"));
}

TEST_F(LogTime, TakesSpans) {
    EXPECT_EQ("2026-11-22 11:00:00", read("-1h"));
    EXPECT_EQ("2026-11-22 11:55:00", read("5 min ago"));
    EXPECT_EQ("2026-11-22 11:55:00", read("5min ago"));
    EXPECT_EQ("2026-11-22 10:30:00", read("-1h30min"));
    EXPECT_EQ("2026-11-22 10:29:50", read("1 hour 30 minutes 10 sec AGO"));
    EXPECT_EQ("2026-11-20 12:00:00", read("- 2 days"));
    EXPECT_EQ("2026-11-08 12:00:00", read("2w ago"));
    EXPECT_EQ("2026-11-22 11:58:30", read("-90"));
    EXPECT_EQ("2026-11-22 11:59:00", read("-1m"));
    EXPECT_EQ("2026-11-22 11:00:00", read("-1H"));
    EXPECT_EQ("2026-10-23 01:30:00", read("-1M"));
    EXPECT_EQ("2025-11-22 06:00:00", read("1 year ago"));
    EXPECT_EQ("2026-11-22 12:05:00", read("+5min"));
}

TEST_F(LogTime, ASpanOfManyYearsHasAnEnd) {
    const std::string oldest = read("1000 years ago");
    EXPECT_EQ(oldest, read("99999999999 years ago"));
    EXPECT_EQ(oldest, read("-999 years 999 years"));
    EXPECT_EQ("none", read("999999999999 years ago"));
}

TEST_F(LogTime, TakesSecondsSinceTheEpoch) {
    EXPECT_EQ("1970-01-01 00:00:00", read("@0"));
    EXPECT_EQ("2026-11-22 12:00:00", read("@1795348800"));
    EXPECT_EQ("none", read("@"));
    EXPECT_EQ("none", read("@1h"));
}

TEST_F(LogTime, TakesTheTimeOfALine) {
    EXPECT_EQ("2026-11-21 04:40:00", read("Nov 21 04:40:00"));
    EXPECT_EQ("2026-11-05 06:02:09", read("2026-11-05T07:02:09.123+01:00"));
    EXPECT_EQ("2026-11-05 07:02:09", read("2026-11-05 07:02:09.123"));
}

TEST_F(LogTime, OtherWordsAreRefusedWithExamples) {
    for (const char *word : {"",
                             " ",
                             "foo",
                             "1h",
                             "5 min",
                             "ago",
                             "1 fortnight ago",
                             "-",
                             "-h",
                             "- 1 h 2",
                             "10",
                             "10:",
                             "10:0:",
                             "24:00",
                             "10:60",
                             "10:00:60",
                             "10:00.5",
                             "10:00:30.x",
                             "+10:00",
                             "2026-13-01",
                             "2026-00-01",
                             "2026-02-30",
                             "2026-11-00",
                             "2026-11",
                             "26-11-22",
                             "2026-11-22 foo",
                             "2026-1122 1",
                             "tomorrow foo",
                             "now 10:00",
                             "Nov 21",
                             "Nov 04:40:00",
                             "Foo 21 04:40:00",
                             "2026-11-22T",
                             "2026-02-30T10:00:00"}) {
        const std::string shown = read(word);
        EXPECT_EQ(std::string(word) == "- 1 h 2" ? "2026-11-22 10:59:58" : "none", shown) << word;
    }
    std::time_t time = 0;
    EXPECT_EQ("'foo' is not a time; examples: '2026-11-22 10:00', '10:00', '-1h', '5 min ago', 'yesterday'",
              read_time_word("foo", kNow, &time));
}

TEST_F(LogTime, OfALineWithoutAYearIsThePast) {
    EXPECT_EQ("2026-11-05 07:02:09", of_line("Nov  5 07:02:09"));
    EXPECT_EQ("2026-11-23 12:00:00", of_line("Nov 23 12:00:00")) << "a clock that is a day ahead";
    EXPECT_EQ("2025-11-23 12:00:01", of_line("Nov 23 12:00:01"));
    EXPECT_EQ("2025-12-31 23:59:59", of_line("Dec 31 23:59:59"));
    EXPECT_EQ("none", of_line(""));
    EXPECT_EQ("none", of_line("kernel: x"));
}

TEST_F(LogTime, OfALineMayHaveAZone) {
    EXPECT_EQ("2026-11-05 07:02:09", of_line("2026-11-05T07:02:09Z"));
    EXPECT_EQ("2026-11-05 07:02:09", of_line("2026-11-05T07:02:09"));
    EXPECT_EQ("2026-11-05 06:02:09", of_line("2026-11-05T07:02:09.123456+01:00"));
    EXPECT_EQ("2026-11-05 12:32:09", of_line("2026-11-05T07:02:09-0530"));
    EXPECT_EQ("none", of_line("2026-11-05Tnoon"));
    EXPECT_EQ("none", of_line("2026-11-05T07:02:09.1x"));
}

TEST(LogTimeZone, IsThatOfTheProcess) {
    const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ("2026-11-22 09:00:00", read("10:00"));
    EXPECT_EQ("2026-07-01 08:00:00", read("2026-07-01 10:00")) << "summer";
    EXPECT_EQ("2026-11-20 23:00:00", read("yesterday"));
    EXPECT_EQ("2026-11-05 06:02:09", of_line("Nov  5 07:02:09"));
    EXPECT_EQ("2026-11-05 07:02:09", of_line("2026-11-05T07:02:09Z"));
}

TEST(LogTimeZone, ADayIsADayAlsoWhenClocksChange) {
    const Zone zone("CET-1CEST,M11.4.0,M11.3.0/3"); /* the change to summer was this morning */
    EXPECT_EQ("2026-11-21 23:00:00", read("today"));
    EXPECT_EQ("2026-11-20 23:00:00", read("yesterday"));
}

std::time_t uptime() {
    timespec running = {};
    EXPECT_EQ(0, ::clock_gettime(CLOCK_BOOTTIME, &running));
    return running.tv_sec;
}

TEST(LogTimeWords, KnowTheStartOfTheDevice) {
    std::time_t time = 0;
    const std::time_t before = uptime();
    EXPECT_EQ("", read_time_word("Boot", kNow, &time));
    EXPECT_GE(kNow - before, time);
    EXPECT_LE(kNow - uptime() - 1, time);
}

TEST(LogTimeWords, AreTimes) {
    std::time_t time = 0;
    for (const std::string &word : time_words()) {
        EXPECT_EQ("", read_time_word(word, kNow, &time));
    }
}

}  // namespace
