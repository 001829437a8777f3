/*
 * The module's listening socket: its folder, its file, and every step that can fail.
 */
#include "frwk_common/ipc/server/ipc_listener.h"

#include <fcntl.h>
#include <sys/un.h>

#include <cerrno>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "support/file_info.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_common/ipc/test_peer.h"
#include "unit/frwk_common/module_fixture.h"

namespace libc = doubles::libc;
namespace base = doubles::base;

namespace {

constexpr char kFolder[] = "/tmp/m_tmp/ipc";
constexpr char kFile[] = "/tmp/m_tmp/ipc/router";

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

/* Whether somebody listens under the module's name. */
bool answers() {
    const int fd = connect_to("router");
    (void)close(fd);
    return fd >= 0;
}

class IpcListenerTest : public ModuleTest {
  protected:
    IpcListenerTest() {
        make_ipc_folder();
        (void)unlink(kFile);
    }
    ~IpcListenerTest() override {
        if (listener_ >= 0) {
            (void)close(listener_);
        }
    }

    int make() {
        ipc::make_listener();
        listener_ = g_s_ipcs_fd;
        return listener_;
    }
    /* Notes which descriptor the library gets. */
    void watch_socket() {
        libc::socket.stand_in([this](int family, int type, int protocol) {
            family_ = family;
            type_ = type;
            protocol_ = protocol;
            return made_ = libc::socket.real(family, type, protocol);
        });
    }

    LogCapture log_;
    int listener_ = -1;
    int made_ = -1;
    int family_ = -1;
    int type_ = -1;
    int protocol_ = -1;
};

}  // namespace

TEST_F(IpcListenerTest, ListensUnderTheModulesOwnName) {
    ASSERT_GE(make(), 0) << log_.text();
    EXPECT_TRUE(answers());
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcListenerTest, IsAUnixStreamSocket) {
    watch_socket();
    ASSERT_GE(make(), 0);
    EXPECT_EQ(family_, AF_UNIX);
    EXPECT_EQ(type_ & ~(SOCK_CLOEXEC | SOCK_NONBLOCK), SOCK_STREAM);
    EXPECT_EQ(protocol_, 0);
}

TEST_F(IpcListenerTest, IsClosedOnExec) {
    ASSERT_GE(make(), 0);
    EXPECT_EQ(fcntl(listener_, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(IpcListenerTest, BlocksInAccept) {
    ASSERT_GE(make(), 0);
    EXPECT_EQ(fcntl(listener_, F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(IpcListenerTest, ReusesTheAddress) {
    int level = 0;
    int option = 0;
    int value = 0;
    libc::setsockopt.stand_in([&](int, int its_level, int its_option, const void *its_value, socklen_t) {
        level = its_level;
        option = its_option;
        std::memcpy(&value, its_value, sizeof(value));
        return 0;
    });
    ASSERT_GE(make(), 0);
    EXPECT_EQ(level, SOL_SOCKET);
    EXPECT_EQ(option, SO_REUSEADDR);
    EXPECT_EQ(value, 1);
}

TEST_F(IpcListenerTest, BindsTheWholeAddress) {
    socklen_t length = 0;
    std::string path;
    libc::bind.stand_in([&](int fd, const sockaddr *address, socklen_t size) {
        length = size;
        path = reinterpret_cast<const sockaddr_un *>(address)->sun_path;
        return libc::bind.real(fd, address, size);
    });
    ASSERT_GE(make(), 0);
    EXPECT_EQ(length, 110u);
    EXPECT_EQ(path, kFile);
}

TEST_F(IpcListenerTest, TakesABacklogOf128) {
    int backlog = 0;
    libc::listen.stand_in([&](int fd, int size) {
        backlog = size;
        return libc::listen.real(fd, size);
    });
    ASSERT_GE(make(), 0);
    EXPECT_EQ(backlog, 128);
}

TEST_F(IpcListenerTest, MakesItsFolderAndSyncs) {
    ASSERT_EQ(rmdir(kFolder), 0);
    std::string commands;
    base::os_system.stand_in([&](const char *command) {
        commands += std::string(command) + ";";
        return base::os_system.real(command);
    });
    ASSERT_GE(make(), 0) << log_.text();
    EXPECT_EQ(commands, "mkdir -p /tmp/m_tmp/ipc;");
    EXPECT_EQ(libc::sync.calls(), 1u);
}

TEST_F(IpcListenerTest, LeavesAnExistingFolderAlone) {
    ASSERT_GE(make(), 0);
    EXPECT_EQ(base::os_system.calls(), 0u);
    EXPECT_EQ(libc::sync.calls(), 0u);
}

TEST_F(IpcListenerTest, ReplacesTheSocketOfAnEarlierRun) {
    {
        TestListener earlier("router");
        ASSERT_TRUE(earlier.ok());
        earlier.stop();
        ASSERT_TRUE(exists(kFile));
        ASSERT_GE(make(), 0) << log_.text();
        EXPECT_TRUE(answers());
    }
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcListenerTest, ReplacesAPlainFile) {
    write_file(kFile, "not a socket");
    ASSERT_GE(make(), 0) << log_.text();
    EXPECT_TRUE(answers());
}

TEST_F(IpcListenerTest, ReportsASocketThatCanNotBeMade) {
    libc::socket.fail(EMFILE);
    EXPECT_EQ(make(), -1);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "frwk_ipc_socket", with_errno("create ipc socket error!", EMFILE)));
    EXPECT_EQ(libc::bind.calls(), 0u);
}

TEST_F(IpcListenerTest, IgnoresARefusedReuseOfTheAddress) {
    libc::setsockopt.fail(ENOPROTOOPT);
    ASSERT_GE(make(), 0);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_socket",
                            with_errno("set socket reuse address error!", ENOPROTOOPT)));
    EXPECT_TRUE(answers());
}

TEST_F(IpcListenerTest, HasItsModeBeforeItHasAFile) {
    mode_t mode = 0;
    libc::fchmod.stand_in([&mode](int fd, mode_t wanted) {
        mode = wanted;
        EXPECT_FALSE(exists(kFile));
        return libc::fchmod.real(fd, wanted);
    });
    const mode_t before = umask(0);
    ASSERT_GE(make(), 0);
    (void)umask(before);
    EXPECT_EQ(mode, 0755u);
    EXPECT_EQ(mode_of(kFile), 0755u);
}

TEST_F(IpcListenerTest, ReportsAModeThatCanNotBeSetAndClosesTheSocket) {
    watch_socket();
    libc::fchmod.fail(EPERM);
    EXPECT_EQ(make(), -1);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "frwk_ipc_socket", with_errno("set ipc socket mode error!", EPERM)));
    EXPECT_FALSE(is_open(made_));
    EXPECT_EQ(libc::bind.calls(), 0u);
}

TEST_F(IpcListenerTest, AFolderOfItsOwnInItsPlaceIsLeftAlone) {
    ASSERT_EQ(mkdir(kFile, 0755), 0);
    EXPECT_EQ(make(), -1);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "frwk_ipc_socket", with_errno("socket bind error!", EADDRINUSE)));
    EXPECT_EQ(rmdir(kFile), 0);
}

TEST_F(IpcListenerTest, ReportsAFailedBindAndClosesTheSocket) {
    watch_socket();
    libc::bind.fail(EACCES);
    EXPECT_EQ(make(), -1);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "frwk_ipc_socket", with_errno("socket bind error!", EACCES)));
    EXPECT_FALSE(is_open(made_));
    EXPECT_EQ(libc::listen.calls(), 0u);
}

TEST_F(IpcListenerTest, ReportsAFolderThatCanNotBeMade) {
    ASSERT_EQ(rmdir(kFolder), 0);
    write_file(kFolder, "in the way");
    EXPECT_EQ(make(), -1);
    EXPECT_EQ(log_.count("socket bind error!"), 1u) << log_.text();
    (void)unlink(kFolder);
}

TEST_F(IpcListenerTest, ReportsAFailedListenAndClosesTheSocket) {
    watch_socket();
    libc::listen.fail(EADDRINUSE);
    EXPECT_EQ(make(), -1);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "frwk_ipc_socket", with_errno("socket listen error!", EADDRINUSE)));
    EXPECT_FALSE(is_open(made_));
}
