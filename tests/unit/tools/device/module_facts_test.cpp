#include "device/module_facts.h"

#include <gtest/gtest.h>

#include "frwk_module.h"

namespace {

using Words = std::vector<std::string>;

TEST(ModuleFacts, NamesEveryFlagThatHasAName) {
    EXPECT_EQ(Words({"DAEMON", "MONITORED", "RUN", "BLOCK", "MPSS", "ADMIN", "POWEROFF", "PRESTART",
                     "EXTERNAL", "PSEUDO"}),
              flag_words(0x3FF));
    EXPECT_EQ(Words(), flag_words(0));
}

TEST(ModuleFacts, ShowsBitsWithoutANameAsNumbers) {
    EXPECT_EQ(Words({"MONITORED", "0x0800", "0x1000", "0x80000000"}), flag_words(0x80001802u));
}

TEST(ModuleFacts, ListsEveryRowThatHasAName) {
    const std::vector<ModuleFacts> all = all_module_facts();
    ASSERT_EQ(46u, all.size());
    EXPECT_EQ("tool", all.front().name);
    EXPECT_EQ("logtool", all.back().name);
    EXPECT_EQ(E_APPS_MODULE_LOGTOOL, all.back().id);
}

TEST(ModuleFacts, ServicesAreTheModulesThatTakeMessagesFromTheirStart) {
    EXPECT_TRUE(is_service(module_facts(E_APPS_MODULE_MONITOR)));
    EXPECT_TRUE(is_service(module_facts(E_APPS_MODULE_WLAN)));
    EXPECT_TRUE(is_service(module_facts(E_APPS_MODULE_QMI_SHUTDOWN_MODEM)));
    EXPECT_FALSE(is_service(module_facts(E_APPS_MODULE_MONITOR_TOOL)));
}

}  // namespace
