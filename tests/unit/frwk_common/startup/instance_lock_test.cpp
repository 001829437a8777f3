/*
 * One process per module: the lock file, and how a second process ends. Each lock is taken in a process of
 * its own, since locks don't hold against the process that has them.
 */
#include "frwk_common/startup/instance_lock.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "support/child.h"
#include "support/file_info.h"
#include "support/files.h"
#include "support/lock_holder.h"
#include "support/log_checks.h"
#include "support/record_lock_holder.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kFolder[] = "/tmp/m_tmp/lock";
constexpr char kFile[] = "/tmp/m_tmp/lock/wlan";

class InstanceLockTest : public testing::Test {
  protected:
    InstanceLockTest() {
        doubles::restore_all();
        (void)mkdir("/tmp/m_tmp", 0755);
        (void)mkdir(kFolder, 0755);
        clear();
    }
    ~InstanceLockTest() override {
        doubles::restore_all();
        clear();
    }

    /* Removes the lock, and files that were set aside. */
    static void clear() {
        std::error_code ignored;
        for (const auto &entry : std::filesystem::directory_iterator(kFolder, ignored)) {
            std::filesystem::remove(entry.path(), ignored);
        }
    }

    /* Takes the lock in a separate process, which then reports. */
    static ChildEnd take(const std::function<std::string()> &then = [] { return "held"; }) {
        return run_in_child([&then] {
            take_instance_lock("wlan");
            return then();
        });
    }
    static void expect_ended(const ChildEnd &end, const std::string &reason) {
        EXPECT_EQ(end.status, 255);
        EXPECT_EQ(end.report, "");
        EXPECT_EQ(end.errors, reason);
    }
};

/* The descriptor of this process that leads to the lock file, or -1. */
int lock_descriptor() {
    for (int fd = 3; fd < 1024; ++fd) {
        char target[256] = {};
        const std::string link = "/proc/self/fd/" + std::to_string(fd);
        if (readlink(link.c_str(), target, sizeof(target) - 1) > 0 && std::strcmp(target, kFile) == 0) {
            return fd;
        }
    }
    return -1;
}

void refuse_lock(int error) {
    libc::fcntl.stand_in([error](int fd, int command, void *argument) {
        if (command == F_SETLK) {
            errno = error;
            return -1;
        }
        return libc::fcntl.real(fd, command, argument);
    });
}

/* A process that is wlan until it is asked to end. */
class Holder : public LockHolder {
  public:
    Holder() : LockHolder([] { take_instance_lock("wlan"); }) {}
};

}  // namespace

TEST_F(InstanceLockTest, HoldsTheProcessIdWithoutALineEnd) {
    const ChildEnd end = take([] { return read_file(kFile) + " " + std::to_string(getpid()); });
    ASSERT_EQ(end.status, 0) << end.errors;
    const size_t blank = end.report.find(' ');
    EXPECT_EQ(end.report.substr(0, blank), end.report.substr(blank + 1));
    EXPECT_EQ(end.errors, "");
}

TEST_F(InstanceLockTest, IsHeldWithoutItsProcessIdOnAFullDisk) {
    const ChildEnd end = run_in_child([] {
        const LogCapture log;
        libc::fflush.fail(ENOSPC);
        take_instance_lock("wlan");
        return log.text();
    });
    EXPECT_EQ(end.status, 0) << end.errors;
    EXPECT_THAT(end.report, testing::HasSubstr(with_errno("write instance lock file error!", ENOSPC)));
}

TEST_F(InstanceLockTest, ReplacesTheContentOfAnEarlierRun) {
    write_file(kFile, "12345678901234567890\nold\n");
    const ChildEnd end = take([] { return read_file(kFile) == std::to_string(getpid()) ? "same" : "other"; });
    EXPECT_EQ(end.report, "same");
}

TEST_F(InstanceLockTest, LocksTheWholeFileForWriting) {
    const Holder first;
    EXPECT_EQ(record_lock_holder(kFile), first.pid());
}

TEST_F(InstanceLockTest, IsClosedOnExec) {
    const ChildEnd end =
        take([] { return (fcntl(lock_descriptor(), F_GETFD) & FD_CLOEXEC) != 0 ? "closed" : "kept"; });
    EXPECT_EQ(end.report, "closed");
}

TEST_F(InstanceLockTest, EndsASecondProcess) {
    const Holder first;
    expect_ended(take(), "the 'wlan' is already running!\n");
}

TEST_F(InstanceLockTest, SetsAFileAsideThatSomebodyHoldsAReadLockOn) {
    write_file(kFile, "123");
    const LockHolder reader([] { EXPECT_TRUE(hold_read_lock(kFile)); });
    const ChildEnd end = take([] { return read_file(kFile) == std::to_string(getpid()) ? "same" : "other"; });
    EXPECT_EQ(end.status, 0) << end.errors;
    EXPECT_EQ(end.report, "same");
}

TEST_F(InstanceLockTest, EndsTheProcessWhenAReadLockedFileCanNotBeSetAside) {
    write_file(kFile, "123");
    const LockHolder reader([] { EXPECT_TRUE(hold_read_lock(kFile)); });
    libc::rename.fail(EROFS);
    expect_ended(take(), "the 'wlan' is already running!\n");
}

TEST_F(InstanceLockTest, KeepsOtherModulesApart) {
    const Holder first;
    const ChildEnd other = run_in_child([] {
        take_instance_lock("router");
        return std::string("held");
    });
    EXPECT_EQ(other.report, "held");
}

TEST_F(InstanceLockTest, IsFreeWhenTheFirstProcessHasEnded) {
    Holder first;
    first.end();
    EXPECT_EQ(take().report, "held");
}

TEST_F(InstanceLockTest, StaysWithTheFirstProcessAfterASecondTried) {
    const Holder first;
    take();
    EXPECT_EQ(record_lock_holder(kFile), first.pid());
    EXPECT_EQ(read_file(kFile), ""); /* opened for a new text before the lock is asked for */
    expect_ended(take(), "the 'wlan' is already running!\n");
}

TEST_F(InstanceLockTest, TakesEitherErrorForARunningModule) {
    for (const int error : {EAGAIN, EACCES}) {
        refuse_lock(error);
        expect_ended(take(), "the 'wlan' is already running!\n");
    }
}

TEST_F(InstanceLockTest, EndsTheProcessWhenTheLockFailsOtherwise) {
    for (const int error : {ENOLCK, EBADF, EDEADLK, EINTR}) {
        refuse_lock(error);
        expect_ended(take(), "can't lock /tmp/m_tmp/lock/wlan\n");
    }
}

TEST_F(InstanceLockTest, EndsTheProcessWhenTheFileCanNotBeOpened) {
    ASSERT_EQ(mkdir(kFile, 0755), 0);
    expect_ended(take(), "can't open /tmp/m_tmp/lock/wlan\n");
}

TEST_F(InstanceLockTest, EndsTheProcessWhenTheFileHasNoStream) {
    libc::fdopen.fail(ENOMEM);
    expect_ended(take(), "can't open /tmp/m_tmp/lock/wlan\n");
}

TEST_F(InstanceLockTest, IsItsOwnersAlone) {
    write_file(kFile, "old");
    ASSERT_EQ(chmod(kFile, 0666), 0);
    const ChildEnd end = take([] { return std::to_string(mode_of(kFile)); });
    EXPECT_EQ(end.report, std::to_string(0600));
}

TEST_F(InstanceLockTest, MakesItsFolderAndSyncs) {
    ASSERT_EQ(rmdir(kFolder), 0);
    const ChildEnd end = run_in_child([] {
        std::string steps;
        base::os_system.stand_in([&steps](const char *command) {
            steps += std::string(command) + ";";
            return base::os_system.real(command);
        });
        libc::sync.stand_in([&steps] { steps += "sync;"; });
        take_instance_lock("wlan");
        return steps;
    });
    EXPECT_EQ(end.report, "mkdir -p /tmp/m_tmp/lock;sync;");
    EXPECT_TRUE(exists(kFile));
}

TEST_F(InstanceLockTest, LeavesAnExistingFolderAlone) {
    const ChildEnd end = run_in_child([] {
        take_instance_lock("wlan");
        return std::to_string(base::os_system.calls());
    });
    EXPECT_EQ(end.report, "0");
}

TEST_F(InstanceLockTest, EndsTheProcessWhenTheFolderCanNotBeMade) {
    ASSERT_EQ(rmdir(kFolder), 0);
    write_file(kFolder, "in the way");
    expect_ended(take(), "can't open /tmp/m_tmp/lock/wlan\n");
    (void)unlink(kFolder);
    ASSERT_EQ(mkdir(kFolder, 0755), 0);
}

TEST_F(InstanceLockTest, CutsAVeryLongPath) {
    const ChildEnd end = run_in_child([] {
        take_instance_lock(std::string(1000, 'n').c_str());
        return std::string("held");
    });
    const std::string path = "/tmp/m_tmp/lock/" + std::string(1000, 'n');
    EXPECT_TRUE(exists(path.substr(0, 255)));
    EXPECT_EQ(end.report, "held");
    remove_node(path.substr(0, 255));
}
