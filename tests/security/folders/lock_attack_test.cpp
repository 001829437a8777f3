/*
 * Another user attacks the lock files: whoever can read one could hold a lock on it, and keep a module from
 * starting or all of them from subscribing.
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "security/attacker.h"
#include "security/folders/attacked_device.h"
#include "security/folders/lock_holder.h"
#include "support/module_process.h"
#include "support/other_user.h"

namespace {

constexpr int kWlan = 5;
constexpr char kLockFolder[] = "/tmp/m_tmp/lock";
constexpr char kInstanceLock[] = "/tmp/m_tmp/lock/wlan";
constexpr char kSubscribeLock[] = "/tmp/m_tmp/lock/subscribe";

/* How often a module is started, or subscribes, while somebody is after its lock. */
constexpr int kStarts = 50;
constexpr int kSubscriptions = 200;

/* Locks a complete file in one of the two ways. */
bool lock(const char *path, int flags, short type) {
    const int fd = ::open(path, flags | O_CLOEXEC);
    struct flock whole = {};
    whole.l_type = type;
    whole.l_whence = SEEK_SET;
    const bool locked = fd >= 0 && ::fcntl(fd, F_SETLK, &whole) == 0;
    (void)::close(fd);
    return locked;
}

bool lock_somehow(const char *path) {
    return lock(path, O_RDONLY, F_RDLCK) || lock(path, O_RDWR, F_WRLCK);
}

class LockAttack : public testing::Test {
  protected:
    LockAttack() {
        clean_device();
        (void)::mkdir("/m_data/usr/subscribe", 0755);
    }
};

using LockAttackByAnotherUser = ByAnotherUser<LockAttack>;

}  // namespace

TEST_F(LockAttack, LockFilesAreTheirOwnersAloneWhateverTheUmask) {
    const Umask none(0);
    ModuleProcess wlan(kWlan);
    EXPECT_EQ("ret=0", wlan.ask("sub link"));
    EXPECT_EQ(0600u, mode_of(kInstanceLock));
    EXPECT_EQ(0600u, mode_of(kSubscribeLock));
}

TEST_F(LockAttack, LockFilesOfAnEarlierVersionAreNarrowed) {
    ASSERT_EQ(0, ::mkdir(kLockFolder, 0755));
    for (const char *file : {kInstanceLock, kSubscribeLock}) {
        ASSERT_TRUE(write_text(file, "123"));
        ASSERT_EQ(0, ::chmod(file, 0666));
    }
    ModuleProcess wlan(kWlan);
    EXPECT_EQ("ret=0", wlan.ask("sub link"));
    EXPECT_EQ(0600u, mode_of(kInstanceLock));
    EXPECT_EQ(0600u, mode_of(kSubscribeLock));
}

TEST_F(LockAttackByAnotherUser, NobodyElseKeepsAModuleFromStarting) {
    { const ModuleProcess first(kWlan); }
    const SharedCount locked;
    Attacker attacker(As::kAnotherUser, [&] { *locked += lock_somehow(kInstanceLock) ? 1 : 0; });
    for (int i = 0; i < kStarts; ++i) {
        attacker.wait_for_a_move();
        ModuleProcess wlan(kWlan);
        ASSERT_TRUE(wlan.process().running()) << wlan.process().errors();
        wlan.process().kill();
    }
    EXPECT_EQ(0u, *locked);
}

TEST_F(LockAttackByAnotherUser, NobodyElseKeepsModulesFromSubscribing) {
    ModuleProcess wlan(kWlan);
    ASSERT_EQ("ret=0", wlan.ask("sub link"));
    const SharedCount locked;
    Attacker attacker(As::kAnotherUser, [&] { *locked += lock_somehow(kSubscribeLock) ? 1 : 0; });
    for (int i = 0; i < kSubscriptions; ++i) {
        attacker.wait_for_a_move();
        ASSERT_EQ("ret=0", wlan.ask("unsub link"));
        ASSERT_EQ("ret=0", wlan.ask("sub link"));
    }
    EXPECT_EQ(0u, *locked);
    EXPECT_EQ(std::string::npos, wlan.process().errors().find("busy, will try lock again..."));
}

TEST_F(LockAttackByAnotherUser, WhatStandsInALockFilesPlaceIsSetAside) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kLockFolder);
        plant(what, kInstanceLock);
        plant(what, kSubscribeLock);

        ModuleProcess wlan(kWlan);
        EXPECT_EQ("ret=0", wlan.ask("sub link")) << name_of(what);
        EXPECT_EQ(std::to_string(wlan.pid()), file_text(kInstanceLock)) << name_of(what);
        EXPECT_EQ(::geteuid(), owner_of(kInstanceLock)) << name_of(what);
        EXPECT_EQ(::geteuid(), owner_of(kSubscribeLock)) << name_of(what);
        EXPECT_EQ(kPrecious, file_text(kVictim)) << name_of(what);
        const std::string told = std::string(kInstanceLock) + " was not ours (owner 60001, mode ";
        EXPECT_TRUE(wlan.process().wait_for_error(told)) << name_of(what);
    }
}

TEST_F(LockAttackByAnotherUser, AFileThatSomebodyElseHoldsALockOnIsSetAside) {
    open_to_all(kLockFolder);
    plant(Plant::kFile, kInstanceLock);
    plant(Plant::kFile, kSubscribeLock);
    const LockHolder at_start(kInstanceLock);
    const LockHolder at_subscribing(kSubscribeLock);
    ModuleProcess wlan(kWlan);
    EXPECT_EQ(std::to_string(wlan.pid()), file_text(kInstanceLock)) << wlan.process().errors();
    EXPECT_EQ("ret=0", wlan.ask("sub link"));
}

TEST_F(LockAttackByAnotherUser, AReadLockFromBeforeTheFileWasNarrowedKeepsNobodyOut) {
    ASSERT_EQ(0, ::mkdir(kLockFolder, 0755));
    for (const char *file : {kInstanceLock, kSubscribeLock}) {
        ASSERT_TRUE(write_text(file, ""));
        ASSERT_EQ(0, ::chmod(file, 0644));
    }
    const LockHolder at_start(kInstanceLock, F_RDLCK);
    const LockHolder at_subscribing(kSubscribeLock, F_RDLCK);
    ModuleProcess wlan(kWlan);
    EXPECT_EQ(std::to_string(wlan.pid()), file_text(kInstanceLock)) << wlan.process().errors();
    EXPECT_EQ("ret=0", wlan.ask("sub link"));
    EXPECT_EQ(std::string::npos, wlan.process().errors().find("busy, will try lock again..."));
    EXPECT_TRUE(
        wlan.process().wait_for_error(std::string(kInstanceLock) + " was read-locked (owner 0, mode "));
    EXPECT_EQ(0600u, mode_of(kInstanceLock));
    EXPECT_EQ(0600u, mode_of(kSubscribeLock));
}

TEST_F(LockAttack, ALinkOfTheDevicesOwnIsNotFollowed) {
    ASSERT_EQ(0, ::mkdir(kLockFolder, 0755));
    ASSERT_EQ(0, ::symlink(kVictim, kInstanceLock));
    ChildProcess wlan(module_command(kWlan), {"QUOR_DEBUG=0"});
    EXPECT_EQ(255, wlan.exit_status());
    EXPECT_EQ(std::string("can't open ") + kInstanceLock + "\n", wlan.errors());
    EXPECT_EQ(kPrecious, file_text(kVictim));
}

TEST_F(LockAttack, AFileWithASecondNameIsNotEmptied) {
    ASSERT_EQ(0, ::mkdir(kLockFolder, 0755));
    ASSERT_TRUE(write_text("/tmp/m_tmp/other", kPrecious));
    ASSERT_EQ(0, ::link("/tmp/m_tmp/other", kInstanceLock));
    ModuleProcess wlan(kWlan);
    EXPECT_EQ(kPrecious, file_text("/tmp/m_tmp/other"));
    EXPECT_EQ(std::to_string(wlan.pid()), file_text(kInstanceLock));
}
