#include "log/journal_command.h"

#include <gtest/gtest.h>

#include "device/module_words.h"

namespace {

/* The words after those of every query. */
std::string words_of(const JournalQuery &query) {
    const std::string all = joined(journal_command(query));
    const std::string begin = "journalctl --no-pager --quiet --output=json";
    EXPECT_EQ(0u, all.find(begin));
    return all.substr(begin.size());
}

TEST(JournalCommand, ReadsEverythingByDefault) {
    EXPECT_EQ("", words_of({}));
}

TEST(JournalCommand, SelectsModulesAndPrograms) {
    JournalQuery query;
    query.modules = {"wlan", "lcd"};
    EXPECT_EQ(" SYSLOG_IDENTIFIER=wlan SYSLOG_IDENTIFIER=lcd", words_of(query));
    query.programs = {"sshd"};
    EXPECT_EQ(" SYSLOG_IDENTIFIER=wlan SYSLOG_IDENTIFIER=lcd SYSLOG_IDENTIFIER=sshd + _COMM=sshd",
              words_of(query));
}

TEST(JournalCommand, SelectsAPeriodAndTheLastLines) {
    JournalQuery query;
    query.period = LogPeriod(100, 200, 300);
    query.last = 5;
    EXPECT_EQ(" --lines=5 --since=@100 --until=@200", words_of(query));
}

TEST(JournalCommand, FollowsFromACursorOrElseFromTheBeginningOfThePeriod) {
    JournalQuery query;
    query.period = LogPeriod(100, std::nullopt, 300);
    query.follow = true;
    EXPECT_EQ(" --follow --no-tail --since=@100", words_of(query));
    query.cursor = "s=1";
    EXPECT_EQ(" --follow --no-tail --after-cursor=s=1", words_of(query));
}

}  // namespace
