/*
 * The locks are held by other processes, since a process can't ask for its own.
 */
#include "module_locks.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "doubles/libc_doubles.h"
#include "support/child.h"
#include "support/lock_holder.h"
#include "support/other_user.h"
#include "support/record_lock_holder.h"

namespace {

const std::string kFolder = "/tmp/m_tmp/lock";

class ModuleLocks : public testing::Test {
  protected:
    ModuleLocks() { std::filesystem::remove_all(kFolder); }
    ~ModuleLocks() override {
        doubles::libc::fcntl.restore();
        std::filesystem::remove_all(kFolder);
    }

    static LockHolder holder_of(const std::string &module) {
        return LockHolder([module] { (void)hold_instance_lock(module); });
    }
};

TEST_F(ModuleLocks, AProcessIsTheModulesWhoseLocksItHolds) {
    const LockHolder device = holder_of("device");
    const LockHolder both([] {
        (void)hold_instance_lock("router");
        (void)hold_instance_lock("wlan");
    });
    EXPECT_EQ(module_bit(E_APPS_MODULE_DEVICE), modules_of(device.pid()));
    EXPECT_EQ(module_bit(E_APPS_MODULE_ROUTER) | module_bit(E_APPS_MODULE_WLAN), modules_of(both.pid()));
    EXPECT_EQ(0u, modules_of(::getpid()));
}

TEST_F(ModuleLocks, ALockEndsWithItsProcess) {
    LockHolder device = holder_of("device");
    const pid_t process = device.pid();
    EXPECT_NE(0u, modules_of(process));
    device.kill();
    EXPECT_EQ(0u, modules_of(process));
}

TEST_F(ModuleLocks, NobodyIsTheModuleOfAFileThatIsNotLocked) {
    const LockHolder device = holder_of("device");
    std::filesystem::create_directories(kFolder + "/router");
    ASSERT_EQ(0, ::mkfifo((kFolder + "/wlan").c_str(), 0600));
    EXPECT_EQ(module_bit(E_APPS_MODULE_DEVICE), modules_of(device.pid()));
    EXPECT_EQ(0u, modules_of(0));
}

TEST_F(ModuleLocks, AReadLockMakesNoModule) {
    ASSERT_TRUE(holder_of("device").pid() > 0);
    const LockHolder reader([] { (void)hold_read_lock("/tmp/m_tmp/lock/device"); });
    EXPECT_EQ(0u, modules_of(reader.pid()));
}

/* To close a descriptor of a file releases the locks on it. */
TEST_F(ModuleLocks, TheDatabasesOwnLockIsNeverOpened) {
    ASSERT_TRUE(hold_instance_lock("zndb"));
    ASSERT_EQ(0, ::link((kFolder + "/zndb").c_str(), (kFolder + "/router").c_str()));
    ASSERT_EQ(0, ::symlink((kFolder + "/zndb").c_str(), (kFolder + "/wlan").c_str()));
    const LockHolder device = holder_of("device");
    EXPECT_EQ(module_bit(E_APPS_MODULE_DEVICE), modules_of(device.pid()));
    const pid_t self = ::getpid();
    const ChildEnd end = run_in_child([self] {
        return std::string(record_lock_holder("/tmp/m_tmp/lock/zndb") == self ? "held" : "released");
    });
    EXPECT_EQ("held", end.report);
}

TEST_F(ModuleLocks, AModuleWithoutAnInstanceLockHasNone) {
    const LockHolder tool = holder_of("zndb_tool");
    EXPECT_EQ(0u, modules_of(tool.pid()));
}

TEST_F(ModuleLocks, WhereTheKernelDoesNotSayThereIsNone) {
    const LockHolder device = holder_of("device");
    doubles::libc::fcntl.stand_in([](int, int, void *) {
        errno = ENOLCK;
        return -1;
    });
    EXPECT_EQ(0u, modules_of(device.pid()));
}

TEST_F(ModuleLocks, AFileThatCantBeOpenedMakesNoModule) {
    const LockHolder device = holder_of("device");
    doubles::libc::open.stand_in([](const char *, int, mode_t) {
        errno = EMFILE;
        return -1;
    });
    EXPECT_EQ(0u, modules_of(device.pid()));
    doubles::libc::open.restore();
    EXPECT_EQ(module_bit(E_APPS_MODULE_DEVICE), modules_of(device.pid()));
}

class ModuleLocksByAnotherUser : public ByAnotherUser<ModuleLocks> {};

TEST_F(ModuleLocksByAnotherUser, OfFilesOfTheirsDoNotCount) {
    std::filesystem::create_directories(kFolder);
    ASSERT_EQ(0, ::chmod(kFolder.c_str(), 01777));
    const LockHolder other([] {
        (void)::setresuid(kOtherUser, kOtherUser, kOtherUser);
        (void)hold_instance_lock("device");
    });
    ASSERT_EQ(other.pid(), record_lock_holder("/tmp/m_tmp/lock/device"));
    EXPECT_EQ(0u, modules_of(other.pid()));
}

}  // namespace
