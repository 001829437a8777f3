/*
 * Exact-length reads and writes, with every fault that the system can produce.
 */
#include "frwk_common/ipc_transport.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

#include "doubles/libc_doubles.h"
#include "unit/frwk_common/io_faults.h"
#include "unit/frwk_common/log_checks.h"
#include "unit/frwk_common/module_fixture.h"
#include "unit/frwk_common/test_peer.h"

namespace libc = doubles::libc;

namespace {

using Clock = std::chrono::steady_clock;

class IpcTransportTest : public ModuleTest {
  protected:
    LogCapture log_;
};

class IpcRecvTest : public IpcTransportTest {
  protected:
    int32_t recv(uint32_t size, int32_t timeout) {
        received_.assign(size, 0);
        return frwk_ipc_recv(pair_.subject(), received_.data(), size, timeout);
    }
    /* Answers every wait, and counts them. */
    void wait_gives(int result, int error = 0) {
        libc::poll.stand_in([this, result, error](pollfd *, nfds_t, int limit) {
            limits_.push_back(limit);
            errno = error;
            return result;
        });
    }

    SocketPair pair_;
    Bytes received_;
    std::vector<int> limits_;
};

class IpcSendTest : public IpcTransportTest {
  protected:
    int32_t send(const Bytes &bytes) {
        return frwk_ipc_send(pair_.subject(), bytes.data(), static_cast<uint32_t>(bytes.size()));
    }
    /* The first bytes as the head, the others behind it. */
    int32_t tell(const Bytes &bytes, uint32_t head) {
        const auto rest = static_cast<uint32_t>(bytes.size()) - head;
        return frwk_ipc_tell(pair_.subject(), bytes.data(), head, bytes.data() + head, rest);
    }
    Bytes arrived() {
        pair_.close_subject();
        return read_to_end(pair_.test());
    }

    SocketPair pair_;
};

}  // namespace

/* ---- Reading --------------------------------------------------------------------------------------- */

TEST_F(IpcRecvTest, ReadsExactlyWhatWasAskedFor) {
    write_bytes(pair_.test(), pattern(100));
    EXPECT_EQ(recv(60, 3), 60);
    EXPECT_EQ(received_, slice(pattern(100), 0, 60));
    EXPECT_EQ(recv(40, 3), 40);
    EXPECT_EQ(received_, slice(pattern(100), 60, 40));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcRecvTest, PutsPiecesTogether) {
    write_bytes(pair_.test(), pattern(100));
    io_faults::on_read([](const io_faults::Transfer &real, int fd, void *buf, size_t size) {
        return real(fd, buf, std::min<size_t>(size, 7));
    });
    EXPECT_EQ(recv(100, 3), 100);
    EXPECT_EQ(received_, pattern(100));
}

TEST_F(IpcRecvTest, ReadsNothingForASizeOfZero) {
    EXPECT_EQ(frwk_ipc_recv(pair_.subject(), nullptr, 0, 3), 0);
    EXPECT_EQ(io_faults::reads(), 0u);
}

TEST_F(IpcRecvTest, GoesOnAfterASignal) {
    write_bytes(pair_.test(), pattern(10));
    int interruptions = 5;
    io_faults::on_read([&](const io_faults::Transfer &real, int fd, void *buf, size_t size) -> ssize_t {
        if (interruptions-- > 0) {
            errno = EINTR;
            return -1;
        }
        return real(fd, buf, std::min<size_t>(size, 1));
    });
    EXPECT_EQ(recv(10, 0), 10);
    EXPECT_EQ(received_, pattern(10));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcRecvTest, ReturnsAShortCountWhenThePeerCloses) {
    write_bytes(pair_.test(), pattern(10));
    pair_.close_test();
    EXPECT_EQ(recv(24, 3), 10);
    EXPECT_EQ(slice(received_, 0, 10), pattern(10));
    EXPECT_EQ(log_.count("socket recv size error! errno="), 1u) << log_.text();
}

TEST_F(IpcRecvTest, ReturnsZeroWhenThePeerClosesAtOnce) {
    pair_.close_test();
    EXPECT_EQ(recv(24, 3), 0);
    EXPECT_EQ(log_.count("socket recv size error! errno="), 1u) << log_.text();
}

TEST_F(IpcRecvTest, TakesTheEndForTheEndWhateverErrnoWasBefore) {
    pair_.close_test();
    errno = EINTR;
    EXPECT_EQ(recv(24, 3), 0);
    errno = EINTR;
    EXPECT_EQ(recv(24, 0), 0);
}

TEST_F(IpcRecvTest, ReturnsWhatItHasWhenAReadFails) {
    write_bytes(pair_.test(), pattern(10));
    bool first = true;
    io_faults::on_read([&](const io_faults::Transfer &real, int fd, void *buf, size_t size) -> ssize_t {
        if (!first) {
            errno = ECONNRESET;
            return -1;
        }
        first = false;
        return real(fd, buf, std::min<size_t>(size, 4));
    });
    EXPECT_EQ(recv(10, 3), 4);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("socket recv size error!", ECONNRESET)));
}

TEST_F(IpcRecvTest, ReturnsZeroAfterATimeOutWhateverCameBefore) {
    write_bytes(pair_.test(), pattern(10));
    libc::poll.stand_in([this](pollfd *fds, nfds_t count, int limit) {
        limits_.push_back(limit);
        return libc::poll.real(fds, count, 0);
    });
    EXPECT_EQ(recv(24, 3), 0);
    EXPECT_TRUE(logged_once(log_, kNoticeLevel, "select recv timeout!"));
    EXPECT_EQ(limits_.back(), 3000);
}

TEST_F(IpcRecvTest, GivesASilentPeerTheSecondsOfTheLimit) {
    write_bytes(pair_.test(), pattern(10));
    const auto start = Clock::now();
    EXPECT_EQ(recv(24, 1), 0);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(990));
    EXPECT_TRUE(logged_once(log_, kNoticeLevel, "select recv timeout!"));
}

TEST_F(IpcRecvTest, StartsTheLimitAfreshForEachPiece) {
    libc::poll.stand_in([this](pollfd *, nfds_t, int limit) {
        limits_.push_back(limit);
        write_bytes(pair_.test(), pattern(1));
        return 1;
    });
    EXPECT_EQ(recv(3, 3), 3);
    EXPECT_EQ(limits_, (std::vector<int>{3000, 3000, 3000}));
}

TEST_F(IpcRecvTest, ReportsAWaitThatFails) {
    wait_gives(-1, ENOMEM);
    EXPECT_LT(recv(24, 3), 0);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("select recv error!", ENOMEM)));
}

TEST_F(IpcRecvTest, WaitsWithoutLimitUntilThePeerWrites) {
    for (const int32_t timeout : {0, -1, INT32_MIN}) {
        doubles::libc::recv.forget_calls();
        doubles::libc::read.forget_calls();
        std::thread peer([this] {
            while (io_faults::reads() == 0) {
                std::this_thread::yield();
            }
            write_bytes(pair_.test(), pattern(24));
        });
        EXPECT_EQ(recv(24, timeout), 24) << timeout;
        EXPECT_EQ(received_, pattern(24));
        peer.join();
    }
    EXPECT_EQ(libc::poll.calls(), 0u);
}

TEST_F(IpcRecvTest, WaitsWithoutLimitUntilThePeerCloses) {
    std::thread peer([this] {
        while (io_faults::reads() == 0) {
            std::this_thread::yield();
        }
        pair_.end_input();
    });
    EXPECT_EQ(recv(24, -1), 0);
    peer.join();
}

TEST_F(IpcRecvTest, WorksOnANonBlockingDescriptor) {
    ASSERT_EQ(fcntl(pair_.subject(), F_SETFL, O_NONBLOCK), 0);
    std::thread peer([this] {
        while (io_faults::reads() == 0) {
            std::this_thread::yield();
        }
        write_bytes(pair_.test(), pattern(24));
    });
    EXPECT_EQ(recv(24, kPeerLimitSeconds), 24);
    peer.join();
}

TEST_F(IpcRecvTest, TakesAnEmptyNonBlockingDescriptorForAFailureWithoutALimit) {
    ASSERT_EQ(fcntl(pair_.subject(), F_SETFL, O_NONBLOCK), 0);
    write_bytes(pair_.test(), pattern(10));
    EXPECT_EQ(recv(24, 0), 10);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("socket recv size error!", EAGAIN)));
    EXPECT_EQ(libc::poll.calls(), 0u);
}

TEST_F(IpcRecvTest, WaitsOnDescriptorsAbove1024) {
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    const int high = fcntl(pair_.subject(), F_DUPFD_CLOEXEC, 2000);
    ASSERT_GE(high, 2000);

    Bytes bytes(24);
    std::thread peer([this] {
        while (io_faults::reads() == 0) {
            std::this_thread::yield();
        }
        write_bytes(pair_.test(), pattern(24));
    });
    EXPECT_EQ(frwk_ipc_recv(high, bytes.data(), 24, kPeerLimitSeconds), 24);
    EXPECT_EQ(bytes, pattern(24));
    peer.join();
    (void)close(high);
}

TEST_F(IpcRecvTest, GivesASenderItsTurnOnceBeforeItWaits) {
    write_bytes(pair_.test(), pattern(10));
    wait_gives(0);
    EXPECT_EQ(recv(24, 3), 0);
    EXPECT_EQ(libc::sched_yield.calls(), 1u);
    EXPECT_EQ(limits_, (std::vector<int>{3000}));
}

TEST_F(IpcRecvTest, WaitsForTheRestOfALongMessageWithoutALookThatFindsNothing) {
    write_bytes(pair_.test(), pattern(10));
    libc::poll.stand_in([this](pollfd *, nfds_t, int) {
        write_bytes(pair_.test(), pattern(10));
        return 1;
    });
    EXPECT_EQ(recv(50, 3), 50);
    EXPECT_EQ(libc::poll.calls(), 4u);
    EXPECT_EQ(io_faults::reads(), 6u); /* one for each piece, and one behind the turn that was given away */
}

TEST_F(IpcRecvTest, NeedsNoWaitWhenTheSenderWritesInItsTurn) {
    libc::sched_yield.stand_in([this] {
        write_bytes(pair_.test(), pattern(24));
        return 0;
    });
    EXPECT_EQ(recv(24, 3), 24);
    EXPECT_EQ(libc::poll.calls(), 0u);
}

TEST_F(IpcRecvTest, GivesNoTurnAwayWhenTheBytesAreThere) {
    write_bytes(pair_.test(), pattern(24));
    EXPECT_EQ(recv(24, 3), 24);
    EXPECT_EQ(libc::sched_yield.calls(), 0u);
}

TEST_F(IpcRecvTest, TakesWhatHasArrivedBehindTheLeast) {
    write_bytes(pair_.test(), pattern(100));
    Bytes bytes(64);
    EXPECT_EQ(frwk_ipc_recv_some(pair_.subject(), bytes.data(), 24, 64, 3), 64);
    EXPECT_EQ(bytes, slice(pattern(100), 0, 64));
    EXPECT_EQ(frwk_ipc_recv_some(pair_.subject(), bytes.data(), 24, 64, 3), 36);
    EXPECT_EQ(io_faults::reads(), 2u);
}

/* ---- Writing --------------------------------------------------------------------------------------- */

TEST_F(IpcSendTest, WritesAllBytes) {
    EXPECT_EQ(send(pattern(5000)), 5000);
    EXPECT_EQ(arrived(), pattern(5000));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcSendTest, WritesNothingForASizeOfZero) {
    EXPECT_EQ(frwk_ipc_send(pair_.subject(), nullptr, 0), 0);
    EXPECT_EQ(io_faults::writes(), 0u);
}

TEST_F(IpcSendTest, GoesOnAfterAShortWrite) {
    io_faults::on_write([](const io_faults::Output &real, int fd, const void *buf, size_t size) {
        return real(fd, buf, std::min<size_t>(size, 7));
    });
    EXPECT_EQ(send(pattern(100)), 100);
    EXPECT_EQ(io_faults::writes(), 15u);
    EXPECT_EQ(arrived(), pattern(100));
}

TEST_F(IpcSendTest, GoesOnAfterASignal) {
    int interruptions = 5;
    io_faults::on_write([&](const io_faults::Output &real, int fd, const void *buf, size_t size) -> ssize_t {
        if (interruptions-- > 0) {
            errno = EINTR;
            return -1;
        }
        return real(fd, buf, std::min<size_t>(size, 6));
    });
    EXPECT_EQ(send(pattern(10)), 10);
    EXPECT_EQ(arrived(), pattern(10));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcSendTest, ReturnsWhatItWroteWhenAWriteFails) {
    bool first = true;
    io_faults::on_write([&](const io_faults::Output &real, int fd, const void *buf, size_t) -> ssize_t {
        if (!first) {
            errno = EPIPE;
            return -1;
        }
        first = false;
        return real(fd, buf, 4);
    });
    EXPECT_EQ(send(pattern(10)), 4);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("ipc send error!", EPIPE)));
}

TEST_F(IpcSendTest, DoesNotSpinWhenNothingIsTaken) {
    unsigned tries = 0;
    io_faults::on_write([&](const io_faults::Output &, int, const void *, size_t) -> ssize_t {
        if (++tries > 1000) {
            errno = EIO;
            return -1;
        }
        return 0;
    });
    errno = EINTR;
    EXPECT_EQ(send(pattern(10)), 0);
    EXPECT_EQ(tries, 1u);
    EXPECT_EQ(log_.count("ipc send error! errno="), 1u);
}

TEST_F(IpcSendTest, SurvivesAPeerThatIsGone) {
    pair_.close_test();
    EXPECT_EQ(send(pattern(10)), 0);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("ipc send error!", EPIPE)));
}

TEST_F(IpcSendTest, WritesMoreThanTheQueueHoldsWhileThePeerReads) {
    const Bytes bytes = pattern(size_t{4} * 1024 * 1024);
    Bytes read;
    std::thread peer([&] { read = read_bytes(pair_.test(), bytes.size()); });
    EXPECT_EQ(send(bytes), static_cast<int32_t>(bytes.size()));
    peer.join();
    EXPECT_EQ(read, bytes);
}

/* ---- Writing in two parts -------------------------------------------------------------------------- */

TEST_F(IpcSendTest, WritesBothPartsInOneCall) {
    const Bytes bytes = pattern(5024);
    EXPECT_EQ(tell(bytes, 24), 5024);
    EXPECT_EQ(io_faults::writes(), 1u);
    EXPECT_EQ(arrived(), bytes);
}

TEST_F(IpcSendTest, WritesAHeadAloneWhenNothingFollows) {
    EXPECT_EQ(tell(pattern(24), 24), 24);
    EXPECT_EQ(arrived(), pattern(24));
}

TEST_F(IpcSendTest, GoesOnWhereverAWriteOfTwoPartsStopped) {
    for (const size_t each : {1u, 23u, 24u, 25u, 99u}) {
        SocketPair pair;
        io_faults::on_write([each](const io_faults::Output &real, int fd, const void *buf, size_t size) {
            return real(fd, buf, std::min(size, each));
        });
        const Bytes bytes = pattern(100);
        EXPECT_EQ(frwk_ipc_tell(pair.subject(), bytes.data(), 24, bytes.data() + 24, 76), 100);
        pair.close_subject();
        EXPECT_EQ(read_to_end(pair.test()), bytes) << each;
    }
}

TEST_F(IpcSendTest, WaitsOnANonBlockingDescriptorUntilThePeerReads) {
    ASSERT_EQ(fcntl(pair_.subject(), F_SETFL, O_NONBLOCK), 0);
    const Bytes bytes = pattern(size_t{4} * 1024 * 1024);
    Bytes read;
    std::thread peer([&] { read = read_bytes(pair_.test(), bytes.size()); });
    EXPECT_EQ(tell(bytes, 24), static_cast<int32_t>(bytes.size()));
    peer.join();
    EXPECT_EQ(read, bytes);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcSendTest, WaitsWithoutTheTimeLimitThatConnectingLeft) {
    const timeval limit = {0, 1000};
    ASSERT_EQ(setsockopt(pair_.subject(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)), 0);
    const Bytes bytes = pattern(size_t{4} * 1024 * 1024);
    Bytes read;
    std::thread peer([&] {
        while (libc::setsockopt.calls() < 2) {
            std::this_thread::yield();
        }
        read = read_bytes(pair_.test(), bytes.size());
    });
    EXPECT_EQ(tell(bytes, 24), static_cast<int32_t>(bytes.size()));
    peer.join();
    EXPECT_EQ(read, bytes);
}

TEST_F(IpcSendTest, ReportsADescriptorThatCanNotBeMadeToWait) {
    ASSERT_EQ(fcntl(pair_.subject(), F_SETFL, O_NONBLOCK), 0);
    libc::fcntl.stand_in([](int, int, void *) {
        errno = EBADF;
        return -1;
    });
    const Bytes bytes = pattern(size_t{4} * 1024 * 1024);
    EXPECT_LT(tell(bytes, 24), static_cast<int32_t>(bytes.size()));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("ipc send error!", EBADF)));
}

TEST_F(IpcSendTest, ReportsADescriptorWhoseTimeLimitCanNotBeTakenAway) {
    io_faults::on_write([](const io_faults::Output &, int, const void *, size_t) -> ssize_t {
        errno = EAGAIN;
        return -1;
    });
    libc::setsockopt.stand_in([](int, int, int, const void *, socklen_t) {
        errno = EDOM;
        return -1;
    });
    EXPECT_EQ(tell(pattern(100), 24), 0);
    EXPECT_EQ(io_faults::writes(), 1u);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("ipc send error!", EDOM)));
}

TEST_F(IpcSendTest, MakesADescriptorWaitOnceOnly) {
    unsigned tries = 0;
    io_faults::on_write([&](const io_faults::Output &real, int fd, const void *buf, size_t) -> ssize_t {
        if (++tries == 2) {
            return real(fd, buf, 4);
        }
        errno = EAGAIN;
        return -1;
    });
    EXPECT_EQ(tell(pattern(100), 24), 4);
    EXPECT_EQ(tries, 3u);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("ipc send error!", EAGAIN)));
    EXPECT_EQ(arrived(), slice(pattern(100), 0, 4));
}
