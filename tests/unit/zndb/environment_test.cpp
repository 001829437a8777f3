#include "environment.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "doubles/log_capture.h"

namespace {

constexpr char kName[] = "QUOR_ZNDB_TEST";

TEST(Environment, AnEmptyVariableIsLikeAMissingOne) {
    ::unsetenv(kName);
    EXPECT_EQ(nullptr, environment_text(kName));
    ::setenv(kName, "", 1);
    EXPECT_EQ(nullptr, environment_text(kName));
    ::setenv(kName, "text", 1);
    EXPECT_STREQ("text", environment_text(kName));
    ::unsetenv(kName);
}

TEST(Environment, ANumberIsWholeAndNotAboveTheLimit) {
    EXPECT_EQ(100u, whole_number("100", 10, 100));
    EXPECT_EQ(0u, whole_number("0", 10, 100));
    EXPECT_EQ(0644u, whole_number("0644", 8, 0777));
    for (const char *text : {"", "101", "-1", "+1", " 1", "1 ", "x", "1x", "99999999999999999999999"}) {
        EXPECT_FALSE(whole_number(text, 10, 100)) << text;
    }
}

TEST(Environment, WhatIsIgnoredIsLogged) {
    const LogCapture log;
    warn_ignored(kName, "text");
    EXPECT_TRUE(log.contains("QUOR_ZNDB_TEST=text is ignored")) << log.text();
}

}  // namespace
