#include "apptest/module_config_check.h"

#include <gtest/gtest.h>

namespace {

/* "LINE: TEXT" of each finding, each with a line end. */
std::string findings_in(const std::string &text) {
    std::string found;
    for (const ConfigFinding &finding : check_module_config(text).findings) {
        found += std::to_string(finding.line) + ": " + finding.text + "\n";
    }
    return found;
}

/* The findings of one element of wlan, on line 1. */
std::string findings_in_wlan(const std::string &elements) {
    return findings_in("<modules><wlan>" + elements + "</wlan></modules>");
}

}  // namespace

TEST(ModuleConfigCheck, FindsNothingInAFileThatIsRight) {
    EXPECT_EQ("",
              findings_in(
                  "<?xml version=\"1.0\"?>\n<modules>\n  <!-- radio -->\n  <wlan>\n    <alias>WIFI</alias>\n"
                  "    <flag>FRWK_FLAG_MONITORED | FRWK_FLAG_RUN</flag>\n    <delay>100</delay>\n"
                  "    <facility>os_log_local3</facility>\n    <cmd>-b 5</cmd>\n  </wlan>\n"
                  "  <camera><flag>FRWK_FLAG_DAEMON,FRWK_FLAG_EXTERNAL</flag></camera>\n</modules>\n"));
}

TEST(ModuleConfigCheck, NamesTheLineWhereAFileIsNotWellFormed) {
    EXPECT_EQ("3: not well-formed: Start-end tags mismatch: the whole file is ignored\n",
              findings_in("<modules>\n  <wlan>\n  </wlam>\n</modules>\n"));
    EXPECT_EQ("1: not well-formed: No document element found: the whole file is ignored\n", findings_in(""));
}

TEST(ModuleConfigCheck, FindsModulesThatAreProbablyMisspelt) {
    EXPECT_EQ("2: 'wlam' is not a built-in module; did you mean 'wlan'?\n",
              findings_in("<modules>\n<wlam/>\n</modules>\n"));
}

TEST(ModuleConfigCheck, FindsThatToolCanNotBeConfigured) {
    EXPECT_EQ("1: 'tool' can't be configured: this makes another module of the same name\n",
              findings_in("<modules><tool/></modules>"));
}

TEST(ModuleConfigCheck, FindsAModuleThatStandsThereTwice) {
    EXPECT_EQ("3: the module 'wlan' stands in the file twice: the later values count\n",
              findings_in("<modules>\n<wlan/>\n<wlan/>\n</modules>\n"));
    EXPECT_EQ("3: the module 'camera' stands in the file twice: the later values count\n",
              findings_in("<modules>\n<camera/>\n<camera/>\n</modules>\n"));
}

TEST(ModuleConfigCheck, FindsTheNinthModuleThatIsNotBuiltIn) {
    std::string text = "<modules>\n";
    for (int number = 1; number <= 9; ++number) {
        text += "<product_own_" + std::to_string(number) + "/>\n";
    }
    EXPECT_EQ(
        "10: 'product_own_9' is the module number 9 that is not built in, and there is room for 8: it "
        "replaces "
        "a built-in module\n",
        findings_in(text + "</modules>\n"));
}

TEST(ModuleConfigCheck, ListsTheModulesThatAreNotBuiltIn) {
    EXPECT_EQ((std::vector<std::string>{"camera", "printer"}),
              check_module_config("<modules><camera/><wlan/><printer/><camera/></modules>").own_modules);
}

TEST(ModuleConfigCheck, FindsElementsThatAreIgnored) {
    EXPECT_EQ("1: unknown element 'facilty'; did you mean 'facility'?: ignored\n",
              findings_in_wlan("<facilty>USER</facilty>"));
    EXPECT_EQ("1: a second 'delay' of the same module is ignored\n",
              findings_in_wlan("<delay>1</delay><delay>2</delay>"));
    EXPECT_EQ("1: 'alias' is empty: ignored\n", findings_in_wlan("<alias></alias>"));
    EXPECT_EQ("1: 'cmd' is empty: ignored\n", findings_in_wlan("<cmd/>"));
}

TEST(ModuleConfigCheck, FindsAttributesAndTextThatAreIgnored) {
    EXPECT_EQ("2: the attribute 'id' of 'wlan' is ignored\n3: text in 'ble' is ignored\n",
              findings_in("<modules>\n<wlan id=\"5\"/>\n<ble>on</ble>\n</modules>\n"));
    EXPECT_EQ("1: the attribute 'version' of the root element is ignored\n",
              findings_in("<modules version=\"2\"/>"));
}

TEST(ModuleConfigCheck, FindsFlagsThatAreNone) {
    EXPECT_EQ("1: unknown flag 'FRWK_FLAG_DEMON'; did you mean 'FRWK_FLAG_DAEMON'?: ignored\n",
              findings_in_wlan("<flag>FRWK_FLAG_RUN|FRWK_FLAG_DEMON</flag>"));
    EXPECT_EQ("1: unknown flag 'frwk_flag_run'; did you mean 'FRWK_FLAG_RUN'?: ignored\n",
              findings_in_wlan("<flag>frwk_flag_run</flag>"));
    EXPECT_EQ("1: the flag in 'FRWK_FLAG_RUNS' counts, although it is part of a longer word\n",
              findings_in_wlan("<flag>FRWK_FLAG_RUNS</flag>"));
    EXPECT_EQ("1: no flag in ' | ': all flags are cleared\n", findings_in_wlan("<flag> | </flag>"));
}

TEST(ModuleConfigCheck, FindsDelaysThatAreReadAsAnotherNumber) {
    EXPECT_EQ("1: the delay '10s' is read as 10 ms: the rest is ignored\n",
              findings_in_wlan("<delay>10s</delay>"));
    EXPECT_EQ("1: the delay 'soon' is not a number: read as 0\n", findings_in_wlan("<delay>soon</delay>"));
    EXPECT_EQ("1: the delay '-5' is negative: the module would wait for weeks\n",
              findings_in_wlan("<delay>-5</delay>"));
    for (const char *large : {"2147483648", "99999999999999999999"}) {
        EXPECT_EQ("1: the delay '" + std::string(large) + "' is above 2147483647 ms: read as that\n",
                  findings_in_wlan("<delay>" + std::string(large) + "</delay>"));
    }
    EXPECT_EQ("", findings_in_wlan("<delay> +250 </delay>"));
}

TEST(ModuleConfigCheck, FindsFacilitiesThatThereAreNot) {
    EXPECT_EQ("1: unknown facility 'SYSLOGD'; did you mean 'SYSLOG'?: the module logs as USER\n",
              findings_in_wlan("<facility>SYSLOGD</facility>"));
    EXPECT_EQ("1: unknown facility ' USER '; did you mean 'USER'?: the module logs as USER\n",
              findings_in_wlan("<facility> USER </facility>"));
}

TEST(ModuleConfigCheck, FindsAnAliasWithWhiteSpace) {
    EXPECT_EQ("1: the alias 'WI FI' has white space in it: no command line can name the module so\n",
              findings_in_wlan("<alias>WI FI</alias>"));
}
