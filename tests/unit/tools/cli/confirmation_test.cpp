#include "cli/confirmation.h"

#include <gtest/gtest.h>

#include "support/test_terminal.h"

namespace {

/* Whether the action goes on after these keys. */
bool confirmed(const std::string &keys) {
    TestTerminal terminal({STDIN_FILENO, STDERR_FILENO});
    terminal.type(keys);
    const bool yes = is_confirmed("delete it", false);
    EXPECT_TRUE(terminal.shows("delete it? [y/N] "));
    return yes;
}

TEST(Confirmation, IsGivenByYesInAnyNotation) {
    for (const char *keys : {"y\n", "Y\n", "yes\n", "YES\n"}) {
        EXPECT_TRUE(confirmed(keys)) << keys;
    }
}

TEST(Confirmation, IsRefusedByAnythingElse) {
    for (const char *keys : {"n\n", "\n", "ye\n", "yes please\n", "\004"}) {
        EXPECT_FALSE(confirmed(keys)) << keys;
    }
}

TEST(Confirmation, IsNotAskedForWhenItWasGivenBefore) {
    TestTerminal terminal({STDIN_FILENO, STDERR_FILENO});
    terminal.type("n\n");
    EXPECT_TRUE(is_confirmed("delete it", true));
}

TEST(Confirmation, IsNotAskedOfAScript) {
    const PipedInput input("n\n");
    EXPECT_TRUE(is_confirmed("delete it", false));
    char left = 0;
    EXPECT_EQ(1, ::read(STDIN_FILENO, &left, 1)) << "the input is the command's";
}

}  // namespace
