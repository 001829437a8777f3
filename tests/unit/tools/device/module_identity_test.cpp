/*
 * A tool that is a module. Each one is a process of its own, since a start is for good.
 */
#include "device/module_identity.h"

#include <gtest/gtest.h>

#include "frwk_module.h"
#include "os_log.h"
#include "support/child.h"

namespace {

/* "NAME, flags FLAGS, debug channel N" of a process that became apptest. */
ChildEnd become_apptest(int debug_channel) {
    return run_in_child([=] {
        g_debug_log_enable = debug_channel;
        become_module(E_APPS_MODULE_APPTEST);
        return std::string(frwk_module_name(-1)) + ", flags " +
               std::to_string(frwk_module_feature(E_APPS_MODULE_APPTEST, ~0u)) + ", debug channel " +
               std::to_string(g_debug_log_enable);
    });
}

TEST(ModuleIdentity, KeepsTheDebugChannelOff) {
    const ChildEnd end = become_apptest(0);
    EXPECT_EQ("apptest, flags 0, debug channel 0", end.report);
    EXPECT_EQ("", end.errors);
}

TEST(ModuleIdentity, LeavesADebugChannelOnThatTheUserWants) {
    EXPECT_EQ("apptest, flags 0, debug channel 1", become_apptest(1).report);
}

}  // namespace
