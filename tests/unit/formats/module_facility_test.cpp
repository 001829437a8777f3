#include "formats/module_facility.h"

#include <gtest/gtest.h>

#include <string>

TEST(ModuleFacility, EachWordHasItsNumber) {
    const char *const words[] = {"AUTH",          "AUTHPRIV",      "CRON",          "OS_LOG_DAEMON",
                                 "FTP",           "KERN",          "OS_LOG_LOCAL0", "OS_LOG_LOCAL1",
                                 "OS_LOG_LOCAL2", "OS_LOG_LOCAL3", "OS_LOG_LOCAL4", "OS_LOG_LOCAL5",
                                 "OS_LOG_LOCAL6", "OS_LOG_LOCAL7", "LPR",           "MAIL",
                                 "NEWS",          "SYSLOG",        "USER",          "UUCP"};
    uint32_t facility = 0;
    for (const char *word : words) {
        ++facility;
        EXPECT_EQ(facility, facility_in(word)) << word;
        EXPECT_STREQ(word, facility_word(facility));
    }
}

TEST(ModuleFacility, CaseIsIgnored) {
    EXPECT_EQ(16u, facility_in("mail"));
    EXPECT_EQ(7u, facility_in("os_log_Local0"));
}

TEST(ModuleFacility, OtherTextsAreNone) {
    for (const char *text :
         {"", "LOCAL0", "OS_LOG_LOCAL", "OS_LOG_LOCAL8", "OS_LOG_LOCAL01", " USER", "USER "}) {
        EXPECT_EQ(0u, facility_in(text)) << text;
    }
    EXPECT_EQ(nullptr, facility_word(0));
    EXPECT_EQ(nullptr, facility_word(21));
}
