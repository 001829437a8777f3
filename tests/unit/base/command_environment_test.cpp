/*
 * The environment of commands.
 */
#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>
#include <thread>

#include "unit/base/command_output.h"

namespace {

constexpr char kModulesLocale[] = "de_DE.UTF-8";

class CommandEnvironment : public testing::Test {
  protected:
    CommandEnvironment() { setenv("LC_ALL", kModulesLocale, 1); }
    ~CommandEnvironment() override {
        unsetenv("LC_ALL");
        os_command_untranslated(0);
    }

    static std::string locale_of_a_command() { return output_of("printf %s \"$LC_ALL\""); }
};

}  // namespace

TEST_F(CommandEnvironment, HasTheModulesLocale) {
    EXPECT_EQ(kModulesLocale, locale_of_a_command());
    EXPECT_EQ(0, os_system("test \"$LC_ALL\" = de_DE.UTF-8"));
}

TEST_F(CommandEnvironment, HasTheCLocaleForAsLongAsThatIsWanted) {
    EXPECT_EQ(0, os_command_untranslated(1));
    EXPECT_EQ("C", locale_of_a_command());
    EXPECT_EQ(0, os_system("test \"$LC_ALL\" = C"));
    EXPECT_EQ("LC_ALL=C\n", output_of("env | grep ^LC_ALL="));

    EXPECT_EQ(1, os_command_untranslated(0));
    EXPECT_EQ(kModulesLocale, locale_of_a_command());
}

TEST_F(CommandEnvironment, HasTheCLocaleWhereTheModuleHasNone) {
    unsetenv("LC_ALL");
    os_command_untranslated(1);
    EXPECT_EQ("C", locale_of_a_command());
}

TEST_F(CommandEnvironment, OfAnotherThreadStaysTheModules) {
    os_command_untranslated(1);
    std::string seen;
    std::thread([&seen] { seen = locale_of_a_command(); }).join();
    EXPECT_EQ(kModulesLocale, seen);
}

TEST_F(CommandEnvironment, HasThePathThatIsSafe) {
    const std::string before = getenv("PATH");
    setenv("PATH", ".:/tmp::/usr/bin:/bin", 1);
    EXPECT_EQ("/usr/bin:/bin", output_of("printf %s \"$PATH\""));
    EXPECT_EQ("PATH=/usr/bin:/bin\n", output_of("env | grep ^PATH="));
    EXPECT_STREQ(".:/tmp::/usr/bin:/bin", getenv("PATH"));
    unsetenv("PATH");
    EXPECT_EQ("/usr/sbin:/usr/bin:/sbin:/bin", output_of("printf %s \"$PATH\""));
    setenv("PATH", before.c_str(), 1);
}

TEST_F(CommandEnvironment, LeavesTheModulesOwnAlone) {
    os_command_untranslated(1);
    EXPECT_EQ("C", locale_of_a_command());
    EXPECT_STREQ(kModulesLocale, getenv("LC_ALL"));
}
