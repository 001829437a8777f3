#include "log/log_tail.h"

#include <gtest/gtest.h>

namespace {

/* What the places have is tried with a log of the test's own: tests/system/tools/monitor_status_test.cpp. */
TEST(LogTail, HasAnEntryForEveryModuleThatWasAskedFor) {
    const LogTail tail = read_log_tail({"no-such-module", "nor-this-one"}, 3);
    EXPECT_NE("", tail.place);
    ASSERT_EQ(2u, tail.modules.size());
    EXPECT_TRUE(tail.modules.at("no-such-module").lines.empty());
    EXPECT_TRUE(tail.modules.at("nor-this-one").processes.empty());
}

TEST(LogTail, OfNoModuleIsEmpty) {
    EXPECT_TRUE(read_log_tail({}, 3).modules.empty());
}

}  // namespace
