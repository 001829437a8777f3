/*
 * Opening a connection to a module: present, absent, slow or with a full queue.
 */
#include "frwk_common/ipc/transport/ipc_connection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/un.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "doubles/libc_doubles.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "support/open_descriptors.h"
#include "unit/frwk_common/ipc/test_peer.h"
#include "unit/frwk_common/module_fixture.h"

namespace libc = doubles::libc;

using ipc::Connection;

namespace {

constexpr uint32_t kWlan = 5;

using Clock = std::chrono::steady_clock;

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

class IpcConnectTest : public ModuleTest {
  protected:
    IpcConnectTest() { make_ipc_folder(); }

    /* Notes which descriptor the library gets, and fails its connect. */
    void connect_fails_with(int error) {
        libc::socket.stand_in([this](int family, int type, int protocol) {
            return made_ = libc::socket.real(family, type, protocol);
        });
        libc::connect.fail(error);
    }
    /* Answers the wait for the connection. */
    void wait_gives(int result, int error = 0) {
        libc::poll.stand_in([this, result, error](pollfd *fds, nfds_t count, int limit) {
            waited_events_ = fds[0].events;
            waited_count_ = count;
            wait_limit_ = limit;
            errno = error;
            return result;
        });
    }

    /* Waiting for a place in a full queue can't begin: nothing is left of the connection, and nothing told.
     */
    void expect_no_wait_at_a_full_queue() {
        connect_fails_with(EAGAIN);
        const size_t before = open_descriptors();
        EXPECT_FALSE(Connection::open(kWlan, 3600));
        EXPECT_EQ(open_descriptors(), before);
        EXPECT_EQ(libc::connect.calls(), 2u);
        EXPECT_EQ(log_.text(), "");
    }

    LogCapture log_;
    int made_ = -1;
    int wait_limit_ = -2;
    short waited_events_ = 0;
    nfds_t waited_count_ = 0;
};

/* Fills a listener's queue: connects, without a wait, until the next one would have to wait. */
std::vector<int> fill_queue(const char *module_name) {
    std::vector<int> held;
    for (int fd = 0; (fd = connect_to(module_name, SOCK_NONBLOCK)) >= 0;) {
        held.push_back(fd);
    }
    return held;
}

void close_all(const std::vector<int> &fds) {
    for (const int fd : fds) {
        (void)close(fd);
    }
}

}  // namespace

TEST_F(IpcConnectTest, ReachesTheModulesListener) {
    const TestListener wlan("wlan");
    ASSERT_TRUE(wlan.ok());
    const Connection connection = Connection::open(kWlan, 3);
    ASSERT_TRUE(connection) << log_.text();
    const int peer = wlan.accept();
    EXPECT_TRUE(write_bytes(connection.fd(), text_bytes("hello")));
    EXPECT_EQ(read_bytes(peer, 5), text_bytes("hello"));
    EXPECT_EQ(log_.text(), "");
    (void)close(peer);
}

TEST_F(IpcConnectTest, NeedsNoCallBesideSocketAndConnect) {
    const TestListener wlan("wlan");
    libc::fcntl.forget_calls();
    libc::setsockopt.forget_calls();
    const Connection connection = Connection::open(kWlan, 3);
    EXPECT_EQ(libc::fcntl.calls() + libc::setsockopt.calls() + libc::poll.calls(), 0u);
    EXPECT_TRUE(connection);
}

TEST_F(IpcConnectTest, ReturnsADescriptorThatIsClosedOnExec) {
    const TestListener wlan("wlan");
    const Connection connection = Connection::open(kWlan, 3);
    ASSERT_TRUE(connection);
    EXPECT_EQ(fcntl(connection.fd(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(IpcConnectTest, HandsOverTheWholeAddress) {
    const TestListener wlan("wlan");
    socklen_t length = 0;
    std::string path;
    libc::connect.stand_in([&](int fd, const sockaddr *address, socklen_t size) {
        length = size;
        path = reinterpret_cast<const sockaddr_un *>(address)->sun_path;
        return libc::connect.real(fd, address, size);
    });
    const Connection connection = Connection::open(kWlan, 3);
    EXPECT_TRUE(connection);
    EXPECT_EQ(length, 110u);
    EXPECT_EQ(path, "/tmp/m_tmp/ipc/wlan");
}

TEST_F(IpcConnectTest, ReportsASocketThatCanNotBeMade) {
    libc::socket.fail(ENFILE);
    EXPECT_FALSE(Connection::open(kWlan, 3));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("socket create error!", ENFILE)));
    EXPECT_EQ(libc::connect.calls(), 0u);
}

TEST_F(IpcConnectTest, FailsAtOnceAndSilentlyWhenTheModuleNeverRan) {
    (void)unlink("/tmp/m_tmp/ipc/wlan");
    EXPECT_FALSE(Connection::open(kWlan, 3600));
    EXPECT_EQ(libc::poll.calls(), 0u);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcConnectTest, FailsAtOnceAndSilentlyWhenTheModuleEnded) {
    TestListener wlan("wlan");
    wlan.stop();
    EXPECT_FALSE(Connection::open(kWlan, 3600));
    EXPECT_EQ(libc::poll.calls(), 0u);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcConnectTest, FailsAtOnceOnAnyOtherError) {
    for (const int error : {ENOENT, ECONNREFUSED, EACCES, EPROTOTYPE, ENOTSOCK}) {
        connect_fails_with(error);
        EXPECT_FALSE(Connection::open(kWlan, 3600)) << error;
        EXPECT_FALSE(is_open(made_)) << error;
    }
    EXPECT_EQ(libc::poll.calls(), 0u);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcConnectTest, FailsForAnEmptySlot) {
    EXPECT_FALSE(Connection::open(40, 3));
}

TEST_F(IpcConnectTest, WaitsForAConnectInProgress) {
    connect_fails_with(EINPROGRESS);
    wait_gives(1);
    const Connection connection = Connection::open(kWlan, 7);
    EXPECT_EQ(connection.fd(), made_);
    EXPECT_EQ(wait_limit_, 7000);
    EXPECT_EQ(waited_events_, POLLOUT);
    EXPECT_EQ(waited_count_, 1u);
}

TEST_F(IpcConnectTest, GivesUpAConnectThatIsStillInProgressAtTheLimit) {
    connect_fails_with(EINPROGRESS);
    wait_gives(0);
    EXPECT_FALSE(Connection::open(kWlan, 1));
    EXPECT_FALSE(is_open(made_));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcConnectTest, GivesUpWhenTheWaitFails) {
    connect_fails_with(EINPROGRESS);
    wait_gives(-1, EINTR);
    EXPECT_FALSE(Connection::open(kWlan, 1));
    EXPECT_FALSE(is_open(made_));
}

TEST_F(IpcConnectTest, TriesAConnectInProgressOnceWithoutALimit) {
    connect_fails_with(EINPROGRESS);
    wait_gives(0);
    EXPECT_FALSE(Connection::open(kWlan, 0));
    EXPECT_EQ(wait_limit_, 0);
}

TEST_F(IpcConnectTest, WaitsAsLongAsItCanForAHugeLimit) {
    connect_fails_with(EINPROGRESS);
    wait_gives(0);
    EXPECT_FALSE(Connection::open(kWlan, UINT32_MAX));
    EXPECT_GE(wait_limit_, INT32_MAX / 1000 * 1000);
}

TEST_F(IpcConnectTest, TriesAFullQueueOnceWithoutALimit) {
    const TestListener wlan("wlan", 0);
    const std::vector<int> queued = fill_queue("wlan");
    EXPECT_FALSE(Connection::open(kWlan, 0));
    EXPECT_EQ(libc::sched_yield.calls(), 0u);
    EXPECT_EQ(log_.text(), "");
    close_all(queued);
}

TEST_F(IpcConnectTest, WaitsAtAFullQueueUpToTheLimit) {
    const TestListener wlan("wlan", 0);
    const std::vector<int> queued = fill_queue("wlan");
    const auto start = Clock::now();
    EXPECT_FALSE(Connection::open(kWlan, 1));
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(900));
    close_all(queued);
}

TEST_F(IpcConnectTest, TakesItsPlaceInAFullQueueWhenOneGetsFree) {
    const TestListener wlan("wlan", 0);
    const std::vector<int> queued = fill_queue("wlan");
    libc::connect.forget_calls();
    std::thread receiver([&wlan] {
        while (libc::connect.calls() < 3) {
            std::this_thread::yield();
        }
        (void)close(wlan.accept());
    });
    const Connection connection = Connection::open(kWlan, kPeerLimitSeconds);
    EXPECT_TRUE(connection);
    receiver.join();
    close_all(queued);
}

TEST_F(IpcConnectTest, GivesAReceiverWithAFullQueueItsTurnBeforeItWaits) {
    const TestListener wlan("wlan", 0);
    const std::vector<int> queued = fill_queue("wlan");
    libc::connect.forget_calls();
    libc::sched_yield.stand_in([&wlan] {
        (void)close(wlan.accept());
        return 0;
    });
    const Connection connection = Connection::open(kWlan, kPeerLimitSeconds);
    EXPECT_TRUE(connection);
    EXPECT_EQ(libc::connect.calls(), 2u);
    close_all(queued);
}

TEST_F(IpcConnectTest, WaitsAtAFullQueueForTheRestOfTheLimitAfterASignal) {
    const TestListener wlan("wlan");
    libc::connect.stand_in([](int fd, const sockaddr *address, socklen_t size) {
        if (libc::connect.calls() > 3) {
            return libc::connect.real(fd, address, size);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        errno = libc::connect.calls() == 3 ? EINTR : EAGAIN;
        return -1;
    });
    std::vector<std::chrono::microseconds> limits;
    libc::setsockopt.stand_in([&limits](int fd, int level, int name, const void *value, socklen_t size) {
        const auto *limit = static_cast<const timeval *>(value);
        limits.push_back(std::chrono::seconds(limit->tv_sec) + std::chrono::microseconds(limit->tv_usec));
        return libc::setsockopt.real(fd, level, name, value, size);
    });
    const Connection connection = Connection::open(kWlan, kPeerLimitSeconds);
    EXPECT_TRUE(connection) << log_.text();
    ASSERT_EQ(limits.size(), 2u);
    EXPECT_LE(limits[0], std::chrono::seconds(kPeerLimitSeconds));
    EXPECT_LE(limits[1], limits[0] - std::chrono::milliseconds(1));
}

TEST_F(IpcConnectTest, GivesUpAFullQueueWhenTheSocketCanNotBeMadeToWait) {
    libc::fcntl.fail(EIO);
    expect_no_wait_at_a_full_queue();
}

TEST_F(IpcConnectTest, GivesUpAFullQueueWhenTheWaitCanNotBeLimited) {
    libc::setsockopt.fail(EDOM);
    expect_no_wait_at_a_full_queue();
}

TEST_F(IpcConnectTest, LeaksNoDescriptorInAThousandFailures) {
    (void)unlink("/tmp/m_tmp/ipc/wlan");
    const size_t before = open_descriptors();
    for (int i = 0; i < 1000; ++i) {
        EXPECT_FALSE(Connection::open(kWlan, 3));
    }
    EXPECT_EQ(open_descriptors(), before);
}
