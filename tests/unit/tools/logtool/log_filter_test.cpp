#include "logtool/log_filter.h"

#include <gtest/gtest.h>

namespace {

LogRecord line(const std::string &module, int level, const std::string &text) {
    LogRecord made;
    made.module = module;
    made.level = level;
    made.text = text;
    return made;
}

TEST(LogFilter, WantsEverythingWithoutWishes) {
    EXPECT_TRUE(LogFilter().concerns(line("", kNoLevel, "")));
    EXPECT_TRUE(LogFilter().wants_level_of(line("", kNoLevel, "")));
}

TEST(LogFilter, ComparesWholeNamesOfModules) {
    const LogFilter filter = {{"oma", "wlan"}, {}, kNoLevel, ""};
    EXPECT_TRUE(filter.concerns(line("oma", kNoLevel, "")));
    EXPECT_TRUE(filter.concerns(line("wlan", kNoLevel, "")));
    EXPECT_FALSE(filter.concerns(line("omadm", kNoLevel, "")));
    EXPECT_FALSE(filter.concerns(line("", kNoLevel, "oma")));
}

TEST(LogFilter, ProgramsAreLikeModulesInUpperOrLowerCase) {
    const LogFilter programs = {{}, {"NetworkManager", "kernel"}, kNoLevel, ""};
    EXPECT_TRUE(programs.concerns(line("networkmanager", kNoLevel, "")));
    EXPECT_FALSE(programs.concerns(line("network", kNoLevel, "")));
    EXPECT_FALSE(programs.concerns(line("", kNoLevel, "kernel")));
    const LogFilter both = {{"wlan"}, {"kernel"}, kNoLevel, "x"};
    EXPECT_TRUE(both.concerns(line("wlan", kNoLevel, "x")));
    EXPECT_TRUE(both.concerns(line("kernel", kNoLevel, "x")));
    EXPECT_FALSE(both.concerns(line("kernel", kNoLevel, "y")));
    EXPECT_FALSE(both.concerns(line("sshd", kNoLevel, "x")));
}

TEST(LogFilter, FindsTextInUpperOrLowerCase) {
    const LogFilter filter = {{}, {}, kNoLevel, "Errno="};
    EXPECT_TRUE(filter.concerns(line("wlan", kNoLevel, "failed errno=2")));
    EXPECT_FALSE(filter.concerns(line("errno=", kNoLevel, "failed errno 2")));
}

TEST(LogFilter, WantsTheLevelAndMoreUrgentOnes) {
    const LogFilter filter = {{}, {}, 4, ""};
    EXPECT_TRUE(filter.wants_level_of(line("", 4, "")));
    EXPECT_TRUE(filter.wants_level_of(line("", 0, "")));
    EXPECT_FALSE(filter.wants_level_of(line("", 5, "")));
    EXPECT_FALSE(filter.wants_level_of(line("", kNoLevel, "")));
}

}  // namespace
