#include "apptest/startup_list_check.h"

#include <gtest/gtest.h>

namespace {

/* "LINE: TEXT" of each finding, each with a line end. */
std::string findings_in(const std::string &text, const std::vector<std::string> &own_modules = {}) {
    std::string found;
    for (const ConfigFinding &finding : check_startup_list(text, own_modules)) {
        found += std::to_string(finding.line) + ": " + finding.text + "\n";
    }
    return found;
}

}  // namespace

TEST(StartupListCheck, FindsNothingInAListThatIsRight) {
    EXPECT_EQ("", findings_in(""));
    EXPECT_EQ("", findings_in(" \r\n\t\n"));
    EXPECT_EQ("", findings_in("\r\n  router\r\n\n wlan\tdbm"));
    EXPECT_EQ("", findings_in("camera router", {"camera"}));
}

TEST(StartupListCheck, FindsNamesThatNoModuleHas) {
    EXPECT_EQ("2: unknown module 'ruoter'; did you mean 'router'?: ignored\n", findings_in("wlan\nruoter\n"));
    EXPECT_EQ("1: unknown module 'WLAN'; did you mean 'wlan'?: ignored\n", findings_in("WLAN"));
    EXPECT_EQ("1: unknown module 'camero'; did you mean 'camera'?: ignored\n",
              findings_in("camero", {"camera"}));
}

TEST(StartupListCheck, FindsNamesThatStandThereTwice) {
    EXPECT_EQ("3: 'wlan' is listed twice\n", findings_in("wlan router\n\nwlan\n"));
}

TEST(StartupListCheck, FindsTheNulByteThatEndsTheList) {
    EXPECT_EQ("2: the text from a NUL byte on is ignored\n", findings_in(std::string("wlan\n\0router", 12)));
}
