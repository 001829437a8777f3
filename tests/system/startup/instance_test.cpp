/*
 * One process per daemon module, and ids that no module has.
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "device_files.h"
#include "support/module_process.h"

namespace {

constexpr char kLock[] = "/tmp/m_tmp/lock/wlan";
constexpr int kRefused = 255;

/* The error output of a module whose start is refused. */
std::string refusal_of(int id) {
    ModuleOptions options;
    ChildProcess module(module_command(id, options), {"QUOR_DEBUG=0"});
    EXPECT_EQ(kRefused, module.exit_status());
    return module.errors();
}

class Instance : public DeviceFiles {};

TEST_F(Instance, ASecondOneIsRefused) {
    ModuleProcess first(5);
    EXPECT_EQ("the 'wlan' is already running!\n", refusal_of(5));
    EXPECT_TRUE(first.process().running());
}

TEST_F(Instance, ARefusedOneLeavesTheFirstReachable) {
    ModuleProcess first(5);
    ModuleProcess router(3);
    refusal_of(5);
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", router.ask("sync 5 40000 3 2 text:ok"));
}

TEST_F(Instance, TheLockFileHoldsTheProcessIdAndNothingElse) {
    ModuleProcess wlan(5);
    EXPECT_EQ(std::to_string(wlan.pid()), file_text(kLock));
}

TEST_F(Instance, AnOldLockFileIsTakenOver) {
    ::mkdir("/tmp/m_tmp/lock", 0777);
    ASSERT_TRUE(write_text(kLock, "123456789 and more of an older time"));
    ModuleProcess wlan(5);
    EXPECT_EQ(std::to_string(wlan.pid()), file_text(kLock));
}

TEST_F(Instance, TheLockIsFreeAgainWhenTheModuleWasKilled) {
    {
        ModuleProcess first(5);
        first.process().kill();
    }
    ModuleProcess second(5);
    EXPECT_EQ(std::to_string(second.pid()), file_text(kLock));
}

TEST_F(Instance, TheLockCoversTheWholeFileForWriting) {
    ModuleProcess wlan(5);
    const int fd = ::open(kLock, O_RDWR | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    struct flock asked {};
    asked.l_type = F_RDLCK;
    asked.l_whence = SEEK_SET;
    asked.l_start = 1000000;
    asked.l_len = 1;
    ASSERT_EQ(0, ::fcntl(fd, F_GETLK, &asked));
    ::close(fd);
    EXPECT_EQ(F_WRLCK, asked.l_type);
    EXPECT_EQ(0, asked.l_start);
    EXPECT_EQ(0, asked.l_len);
    EXPECT_EQ(wlan.pid(), asked.l_pid);
}

TEST_F(Instance, TheLockOfADaemonIsTakenToo) {
    ModuleProcess monitor(1);
    EXPECT_EQ("the 'monitor' is already running!\n", refusal_of(1));
}

TEST_F(Instance, ModulesThatAreNeitherDaemonNorMonitoredTakeNoLock) {
    ModuleProcess tool(0);
    ModuleProcess other_tool(0);
    ModuleProcess monitor_tool(51);
    ModuleProcess other_monitor_tool(51);
    ModuleProcess qmi(38);
    EXPECT_NE(0, ::access("/tmp/m_tmp/lock/tool", F_OK));
    EXPECT_NE(0, ::access("/tmp/m_tmp/lock/monitor_tool", F_OK));
    EXPECT_NE(0, ::access("/tmp/m_tmp/lock/qmi_shutdown_modem", F_OK));
}

TEST_F(Instance, ALockFolderThatIsNoFolderEndsTheStart) {
    ASSERT_TRUE(write_text("/tmp/m_tmp/lock", ""));
    EXPECT_EQ("can't open /tmp/m_tmp/lock/wlan\n", refusal_of(5));
}

TEST_F(Instance, ALockFileThatCanNotBeOpenedEndsTheStart) {
    ::mkdir("/tmp/m_tmp/lock", 0777);
    ASSERT_EQ(0, ::mkdir(kLock, 0777));
    EXPECT_EQ("can't open /tmp/m_tmp/lock/wlan\n", refusal_of(5));
}

TEST_F(Instance, Id53IsRefused) {
    EXPECT_EQ("invalid module id=53\n", refusal_of(53));
}

TEST_F(Instance, AnIdFarAboveIsRefused) {
    EXPECT_EQ("invalid module id=1000\n", refusal_of(1000));
    EXPECT_EQ("invalid module id=2147483647\n", refusal_of(2147483647));
}

TEST_F(Instance, Id0And52AreTheFirstAndTheLastToStart) {
    ModuleProcess tool(0);
    ModuleProcess logtool(52);
    EXPECT_EQ("tool TOOL 0x0000 0 0 null", tool.ask("row 0"));
    EXPECT_EQ("logtool LOGTOOL 0x0000 0 0 null", logtool.ask("row 52"));
}

}  // namespace
