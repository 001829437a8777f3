/*
 * Requests to the monitor, which a module with id 1 plays: reboot, reset, shutdown, enable and disable.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "support/module_process.h"

namespace {

constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";

class SystemCommand : public testing::Test {
  protected:
    ~SystemCommand() override { ::unlink(kResetFlag); }

    ModuleProcess monitor_{1};
};

TEST_F(SystemCommand, ARebootReachesTheMonitorWithItsReason) {
    ModuleProcess router(3);
    EXPECT_EQ("ret=1", router.ask("reboot 0x12345678"));
    EXPECT_TRUE(monitor_.wait_for_message("3 1001 4 78563412"));
}

TEST_F(SystemCommand, AShutdownReachesTheMonitorWithItsReason) {
    ModuleProcess router(3);
    EXPECT_EQ("ret=1", router.ask("shutdown 4294967295"));
    EXPECT_TRUE(monitor_.wait_for_message("3 1003 4 ffffffff"));
}

TEST_F(SystemCommand, AResetReachesTheMonitorAndLeavesTheFlagFile) {
    ModuleProcess router(3);
    EXPECT_EQ("ret=1", router.ask("reset 5"));
    EXPECT_TRUE(monitor_.wait_for_message("3 1002 4 05000000"));
    EXPECT_EQ(0, ::access(kResetFlag, F_OK));
}

TEST_F(SystemCommand, NothingIsDeliveredWithoutTheMonitor) {
    monitor_.process().kill();
    ModuleProcess router(3);
    EXPECT_EQ("ret=0", router.ask("reboot 1"));
    EXPECT_EQ("ret=0", router.ask("shutdown 1"));
    EXPECT_EQ("ret=0", router.ask("enable -1"));
    EXPECT_EQ("ret=0", router.ask("disable -1"));
    EXPECT_NE(0, ::access(kResetFlag, F_OK));
}

TEST_F(SystemCommand, AResetLeavesTheFlagFileEvenWithoutTheMonitor) {
    monitor_.process().kill();
    ModuleProcess router(3);
    EXPECT_EQ("ret=0", router.ask("reset 1"));
    EXPECT_EQ(0, ::access(kResetFlag, F_OK));
}

TEST_F(SystemCommand, AModuleMayEnableAndDisableItself) {
    ModuleProcess router(3);
    EXPECT_EQ("ret=1", router.ask("enable -1"));
    EXPECT_TRUE(monitor_.wait_for_message("3 1005 4 03000000"));
    EXPECT_EQ("ret=1", router.ask("disable -77"));
    EXPECT_TRUE(monitor_.wait_for_message("3 1006 4 03000000"));
    EXPECT_EQ("ret=1", router.ask("disable 3"));
    EXPECT_TRUE(monitor_.wait_for_messages(3));
}

TEST_F(SystemCommand, AModuleWithoutTheAdminFlagMayNotActOnOthers) {
    ModuleProcess ble(6);
    EXPECT_EQ("ret=0", ble.ask("disable 3"));
    EXPECT_EQ("ret=0", ble.ask("enable 3"));
    EXPECT_TRUE(ble.process().wait_for_error("no operation permission!!!"));
    EXPECT_TRUE(monitor_.messages().empty());
}

TEST_F(SystemCommand, AModuleWithTheAdminFlagMayActOnOthers) {
    ModuleProcess webserver(17);
    EXPECT_EQ("ret=1", webserver.ask("disable 3"));
    EXPECT_TRUE(monitor_.wait_for_message("17 1006 4 03000000"));
    EXPECT_EQ("ret=1", webserver.ask("enable 3"));
    EXPECT_TRUE(monitor_.wait_for_message("17 1005 4 03000000"));
}

TEST_F(SystemCommand, AModuleWithoutAnyFlagMayActOnOthers) {
    ModuleProcess tool(0);
    EXPECT_EQ("ret=1", tool.ask("disable 3"));
    EXPECT_TRUE(monitor_.wait_for_message("0 1006 4 03000000"));
}

TEST_F(SystemCommand, AnInvalidModuleIsRefused) {
    ModuleProcess webserver(17);
    EXPECT_EQ("ret=0", webserver.ask("disable 0"));
    EXPECT_EQ("ret=0", webserver.ask("enable 53"));
    EXPECT_TRUE(webserver.process().wait_for_error(
        "ASSERT((E_APPS_MODULE_MIN < id) && (E_APPS_MODULE_MAX > id)) invalid module id"));
    EXPECT_TRUE(monitor_.messages().empty());
}

TEST_F(SystemCommand, AModuleThatNobodyWatchesIsRefused) {
    ModuleProcess webserver(17);
    EXPECT_EQ("ret=0", webserver.ask("disable 38"));
    EXPECT_TRUE(webserver.process().wait_for_error(
        "ASSERT(frwk_module_feature(id, (0x00000002))) invalid operation"));
    EXPECT_TRUE(monitor_.messages().empty());
}

TEST_F(SystemCommand, TheToolItselfIsNoModuleToActOn) {
    ModuleProcess tool(0);
    EXPECT_EQ("ret=0", tool.ask("disable -1"));
    EXPECT_TRUE(tool.process().wait_for_error("invalid module id"));
}

}  // namespace
