/*
 * Another user attacks the modules' sockets: message 1 ends a module, so whoever may connect may end it.
 */
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "security/attacker.h"
#include "security/folders/attacked_device.h"
#include "support/module_process.h"
#include "support/other_user.h"

namespace {

constexpr int kRouter = 3;
constexpr int kWlan = 5;
constexpr char kTempFolder[] = "/tmp/m_tmp";
constexpr char kIpcFolder[] = "/tmp/m_tmp/ipc";
constexpr char kSocket[] = "/tmp/m_tmp/ipc/wlan";

/* How often a module is started while somebody tries to end it. */
constexpr int kStarts = 50;

/* Connects to the module, and asks it to end. */
bool send_exit() {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)std::string(kSocket).copy(address.sun_path, sizeof(address.sun_path) - 1);
    const bool connected = ::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
    /* sender, message, asynchronous, time limit, room for an answer, length of the body */
    const int32_t request[] = {9, 1, 1, 3, 0, 0};
    const bool sent = connected && ::write(fd, request, sizeof(request)) > 0;
    (void)::close(fd);
    return connected || sent;
}

class SocketAttack : public testing::Test {
  protected:
    SocketAttack() { clean_device(); }
};

using SocketAttackByAnotherUser = ByAnotherUser<SocketAttack>;

}  // namespace

TEST_F(SocketAttack, FoldersAndSocketsHaveAModeOfTheirOwnWhateverTheUmask) {
    ASSERT_EQ(0, ::rmdir(kTempFolder));
    const Umask none(0);
    const ModuleProcess wlan(kWlan);
    EXPECT_EQ(0755u, mode_of(kTempFolder));
    EXPECT_EQ(0755u, mode_of("/tmp/m_tmp/lock"));
    EXPECT_EQ(0755u, mode_of(kIpcFolder));
    EXPECT_EQ(0755u, mode_of(kSocket));
}

TEST_F(SocketAttack, FoldersThatTheLibraryMakesAreOpenToReadersWhateverTheUmask) {
    ASSERT_EQ(0, ::rmdir(kTempFolder));
    const Umask all(077);
    const ModuleProcess wlan(kWlan);
    EXPECT_EQ(0755u, mode_of(kTempFolder));
    EXPECT_EQ(0755u, mode_of("/tmp/m_tmp/lock"));
    EXPECT_EQ(0755u, mode_of(kIpcFolder));
    EXPECT_EQ(0700u, mode_of(kSocket));
}

TEST_F(SocketAttack, AStricterUmaskStays) {
    const Umask group_only(027);
    const ModuleProcess wlan(kWlan);
    EXPECT_EQ(0750u, mode_of(kSocket));
}

TEST_F(SocketAttackByAnotherUser, NobodyElseEndsAModule) {
    const Umask none(0);
    const SharedCount reached;
    Attacker attacker(As::kAnotherUser, [&] { *reached += send_exit() ? 1 : 0; });
    for (int i = 0; i < kStarts; ++i) {
        ModuleProcess wlan(kWlan);
        const unsigned long before = attacker.moves();
        ASSERT_TRUE(wait_until([&] { return attacker.moves() > before + 10; }));
        ASSERT_TRUE(wlan.process().running());
        wlan.process().kill();
    }
    EXPECT_EQ(0u, *reached);
}

TEST_F(SocketAttack, TheOwnersModulesStillReachEachOther) {
    const Umask none(0);
    const ModuleProcess wlan(kWlan);
    ModuleProcess router(kRouter);
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", router.ask("sync 5 40000 3 2 text:ok"));
}

TEST_F(SocketAttackByAnotherUser, WhatStandsInASocketsPlaceMakesWay) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kIpcFolder);
        plant(what, kSocket);
        const ModuleProcess wlan(kWlan);
        ModuleProcess router(kRouter);
        EXPECT_EQ("ret=0 result=0 rsp=6f6b", router.ask("sync 5 40000 3 2 text:ok")) << name_of(what);
        EXPECT_EQ(0755u, mode_of(kSocket)) << name_of(what);
        EXPECT_EQ(0755u, mode_of(kIpcFolder)) << name_of(what);
        EXPECT_EQ(kPrecious, file_text(kVictim)) << name_of(what);
    }
}
