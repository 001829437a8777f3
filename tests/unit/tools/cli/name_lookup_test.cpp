#include "cli/name_lookup.h"

#include <gtest/gtest.h>

#include "frwk_module.h"

namespace {

std::string shown(const Named &named) {
    return named.problem.empty() ? std::to_string(named.number) : named.problem;
}

TEST(NameLookup, FindsAModuleByNameAliasOrId) {
    for (const char *word : {"wlan", "WLAN", "5", "0x5"}) {
        EXPECT_EQ("5", shown(find_module(word))) << word;
    }
    EXPECT_EQ("14", shown(find_module("ntp")));
    EXPECT_EQ("14", shown(find_module("fgntp")));
    EXPECT_EQ("52", shown(find_module("52")));
}

TEST(NameLookup, RefusesModulesThatCannotBeSentTo) {
    for (const char *word : {"0", "53", "40", "-1", "4294967301"}) {
        EXPECT_NE("", find_module(word).problem) << word;
    }
    EXPECT_EQ("unknown module 'tool'", shown(find_module("tool")));
    EXPECT_EQ("unknown module 'ruoter'; did you mean 'router'?", shown(find_module("ruoter")));
    EXPECT_EQ("unknown module ''", shown(find_module("")));
}

TEST(NameLookup, FindsAMessageWithOrWithoutItsPrefixOrByAnyNumber) {
    EXPECT_EQ("6", shown(find_message("E_APPS_MSG_SYS_STATUS")));
    EXPECT_EQ("6", shown(find_message("e_apps_msg_sys_status")));
    EXPECT_EQ("6", shown(find_message("sys_status")));
    EXPECT_EQ("40000", shown(find_message("40000")));
    EXPECT_EQ("-1", shown(find_message("-1")));
    EXPECT_EQ("unknown message 'sys_sttus'; did you mean 'SYS_STATUS'?", shown(find_message("sys_sttus")));
    EXPECT_EQ("unknown message 'E_APPS_MSG_SYS_STATS'; did you mean 'SYS_STATUS'?",
              shown(find_message("E_APPS_MSG_SYS_STATS")));
    for (const char *word : {"2147483648", "-2147483649", "99999999999999999999"}) {
        EXPECT_EQ(std::string("unknown message '") + word + "'", shown(find_message(word)));
    }
}

TEST(NameLookup, CompletesTheNameOfAMessage) {
    EXPECT_EQ("E_APPS_MSG_SYS_STATUS", complete_message_name("sys_status"));
    EXPECT_EQ("E_APPS_MSG_SYS_STATUS", complete_message_name("e_apps_msg_sys_status"));
    EXPECT_EQ("", complete_message_name("weather"));
    EXPECT_EQ("", complete_message_name("6"));
}

TEST(NameLookup, FindsAResultCode) {
    EXPECT_EQ("17", shown(find_code("E_APPS_ERR_BUSY")));
    EXPECT_EQ("17", shown(find_code("busy")));
    EXPECT_EQ("10001", shown(find_code("E_APPS_VOICE_REQ_FAIL")));
    EXPECT_EQ("777", shown(find_code("777")));
    EXPECT_EQ("unknown result code 'bsy'; did you mean 'BUSY'?", shown(find_code("bsy")));
}

TEST(NameLookup, ShowsWhatHasNoNameAsItsNumber) {
    EXPECT_EQ("wlan", module_text(E_APPS_MODULE_WLAN));
    EXPECT_EQ("0", module_text(0));
    EXPECT_EQ("45", module_text(45));
    EXPECT_EQ("4000000000", module_text(4000000000u));
    EXPECT_EQ("6 E_APPS_MSG_SYS_STATUS", message_text(6));
    EXPECT_EQ("40000 unknown", message_text(40000));
}

TEST(NameLookup, ListsWhatCanBeCompleted) {
    EXPECT_EQ(549u, message_names_like("E_APPS_MSG_").size());
    EXPECT_EQ(45u, module_names().size());
}

}  // namespace
