/*
 * Exact-length reads and writes, with every fault that the system can produce.
 */
#include "frwk_common/ipc/transport/ipc_connection.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "doubles/libc_doubles.h"
#include "support/log_checks.h"
#include "support/wait_until.h"
#include "unit/frwk_common/io_faults.h"
#include "unit/frwk_common/ipc/test_connection.h"
#include "unit/frwk_common/module_fixture.h"

namespace libc = doubles::libc;

using ipc::Waited;
using Mode = ipc::Connection::Mode;

namespace {

/* More than a socket's queue holds. */
const Bytes &large() {
    static const Bytes bytes = pattern(size_t{4} * 1024 * 1024);
    return bytes;
}

using Condition = std::function<bool()>;

bool at_once() {
    return true;
}

/* True once the library has found that its descriptor is not ready: it then wants to make it blocking. */
bool blocking_was_tried() {
    return libc::fcntl.calls() > 0;
}

bool time_limit_was_tried() {
    return libc::setsockopt.calls() > 0;
}

/* Waits for real, or as the test says; counts. */
class TestWait final : public ipc::Wait {
  public:
    Waited wait(int fd, short events, uint32_t done) override {
        asked_.push_back({events, done});
        if (act_) {
            return act_();
        }
        pollfd peer = {fd, events, 0};
        return ::poll(&peer, 1, kPeerLimitSeconds * 1000) > 0 ? Waited::kReady : Waited::kTimeout;
    }
    void act(std::function<Waited()> act) { act_ = std::move(act); }
    void ends_with(Waited how, int error = 0) {
        act_ = [how, error] {
            errno = error;
            return how;
        };
    }
    /* The bytes that had gone at each wait. */
    std::vector<uint32_t> done() const {
        std::vector<uint32_t> done;
        for (const auto &[events, bytes] : asked_) {
            done.push_back(bytes);
        }
        return done;
    }
    bool only_for(short events) const {
        return std::all_of(asked_.begin(), asked_.end(),
                           [events](const auto &each) { return each.first == events; });
    }
    size_t waits() const { return asked_.size(); }

  private:
    std::function<Waited()> act_;
    std::vector<std::pair<short, uint32_t>> asked_;
};

/* A connection of the library to a peer, which is the test. */
class IpcConnectionTest : public ModuleTest {
  protected:
    void reconnect(Mode mode) {
        pair_.reopen();
        connection_ = connection_of(pair_, mode);
    }

    SocketPair pair_;
    ipc::Connection connection_ = connection_of(pair_);
    TestWait wait_;
    LogCapture log_;
};

class IpcRecvTest : public IpcConnectionTest {
  protected:
    int32_t recv(uint32_t size) {
        received_.assign(size, 0);
        return connection_.receive(received_.data(), size, size, wait_);
    }
    int32_t recv_stream(uint32_t size) {
        received_.assign(size, 0);
        return connection_.receive_stream(received_.data(), size, wait_);
    }
    /* The peer writes once the condition holds. */
    void expect_to_read_a_stream(const Condition &peer_may_write = at_once) {
        std::thread peer([&] {
            EXPECT_TRUE(wait_until(peer_may_write));
            for (size_t at = 0; at < large().size(); at += 100000) {
                write_bytes(pair_.test(), slice(large(), at, 100000));
            }
        });
        const auto size = static_cast<uint32_t>(large().size());
        EXPECT_EQ(recv_stream(size), static_cast<int32_t>(size));
        peer.join();
        EXPECT_EQ(received_, large());
    }

    Bytes received_;
};

class IpcSendTest : public IpcConnectionTest {
  protected:
    /* The first bytes as the head, the others after it. */
    int32_t send(const Bytes &bytes, uint32_t head) {
        const auto rest = static_cast<uint32_t>(bytes.size()) - head;
        return connection_.send(bytes.data(), head, bytes.data() + head, rest, wait_);
    }
    int32_t send(const Bytes &bytes) { return send(bytes, static_cast<uint32_t>(bytes.size())); }
    /* The peer reads once the condition holds. */
    void expect_to_write_a_stream(const Condition &peer_may_read = at_once) {
        Bytes read;
        std::thread peer([&] {
            EXPECT_TRUE(wait_until(peer_may_read));
            read = read_bytes(pair_.test(), large().size());
        });
        EXPECT_EQ(send(large(), 24), static_cast<int32_t>(large().size()));
        peer.join();
        EXPECT_EQ(read, large());
        EXPECT_EQ(log_.text(), "");
    }
    Bytes arrived() {
        connection_ = ipc::Connection();
        return read_to_end(pair_.test());
    }
};

}  // namespace

/* ---- Reading --------------------------------------------------------------------------------------- */

TEST_F(IpcRecvTest, ReadsExactlyWhatWasAskedFor) {
    write_bytes(pair_.test(), pattern(100));
    EXPECT_EQ(recv(60), 60);
    EXPECT_EQ(received_, slice(pattern(100), 0, 60));
    EXPECT_EQ(recv(40), 40);
    EXPECT_EQ(received_, slice(pattern(100), 60, 40));
    EXPECT_EQ(wait_.waits(), 0u);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcRecvTest, PutsPiecesTogether) {
    write_bytes(pair_.test(), pattern(100));
    io_faults::on_read([](const io_faults::Transfer &real, int fd, void *buf, size_t size) {
        return real(fd, buf, std::min<size_t>(size, 7));
    });
    EXPECT_EQ(recv(100), 100);
    EXPECT_EQ(received_, pattern(100));
}

TEST_F(IpcRecvTest, ReadsNothingForASizeOfZero) {
    EXPECT_EQ(connection_.receive(nullptr, 0, 0, wait_), 0);
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
    EXPECT_EQ(recv(10), 10);
    EXPECT_EQ(received_, pattern(10));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcRecvTest, ReturnsAShortCountWhenThePeerCloses) {
    write_bytes(pair_.test(), pattern(10));
    pair_.close_test();
    EXPECT_EQ(recv(24), 10);
    EXPECT_EQ(slice(received_, 0, 10), pattern(10));
    EXPECT_EQ(log_.count("socket recv size error! errno="), 1u) << log_.text();
}

TEST_F(IpcRecvTest, TakesTheEndForTheEndWhateverErrnoWasBefore) {
    pair_.close_test();
    for (const int error : {EINTR, EAGAIN}) {
        errno = error;
        EXPECT_EQ(recv(24), 0);
        errno = error;
        EXPECT_EQ(recv_stream(24), 0);
    }
    EXPECT_EQ(wait_.waits(), 0u);
    EXPECT_EQ(log_.count("socket recv size error! errno="), 4u) << log_.text();
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
    EXPECT_EQ(recv(10), 4);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("socket recv size error!", ECONNRESET)));
}

TEST_F(IpcRecvTest, ReturnsZeroAfterATimeOutWhateverCameBefore) {
    write_bytes(pair_.test(), pattern(10));
    wait_.ends_with(Waited::kTimeout);
    EXPECT_EQ(recv(24), 0);
    EXPECT_TRUE(logged_once(log_, kNoticeLevel, "frwk_ipc_recv", "select recv timeout!"));
}

TEST_F(IpcRecvTest, ReportsAWaitThatFails) {
    wait_.ends_with(Waited::kFailed, ENOMEM);
    EXPECT_LT(recv(24), 0);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_recv", with_errno("select recv error!", ENOMEM)));
    EXPECT_FALSE(log_.contains("signal"));
}

TEST_F(IpcRecvTest, SaysThatASignalEndedTheWait) {
    wait_.ends_with(Waited::kFailed, EINTR);
    EXPECT_LT(recv(24), 0);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_recv", with_errno("select recv error!", EINTR)));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_recv",
                            "a signal handler ran on this thread and ended its wait: block the signal before "
                            "frwk_module_init and take it on the main thread"));
}

TEST_F(IpcRecvTest, LeavesAllWaitingToItsCaller) {
    for (const Mode mode : {Mode::kBlocking, Mode::kNonBlocking}) {
        reconnect(mode);
        wait_ = TestWait();
        wait_.act([this] {
            write_bytes(pair_.test(), pattern(1));
            return Waited::kReady;
        });
        EXPECT_EQ(recv(3), 3);
        EXPECT_EQ(wait_.done(), (std::vector<uint32_t>{0, 1, 2}));
        EXPECT_TRUE(wait_.only_for(POLLIN));
        EXPECT_EQ(recv_stream(3), 3);
        EXPECT_EQ(wait_.waits(), 6u);
    }
}

TEST_F(IpcRecvTest, LooksOnceForEachPiece) {
    write_bytes(pair_.test(), pattern(10));
    wait_.act([this] {
        write_bytes(pair_.test(), pattern(10));
        return Waited::kReady;
    });
    EXPECT_EQ(recv(50), 50);
    EXPECT_EQ(wait_.waits(), 4u);
    EXPECT_EQ(io_faults::reads(), 5u);
}

TEST_F(IpcRecvTest, TakesWhatHasArrivedBehindTheLeast) {
    write_bytes(pair_.test(), pattern(100));
    Bytes bytes(64);
    EXPECT_EQ(connection_.receive(bytes.data(), 24, 64, wait_), 64);
    EXPECT_EQ(bytes, slice(pattern(100), 0, 64));
    EXPECT_EQ(connection_.receive(bytes.data(), 24, 64, wait_), 36);
    EXPECT_EQ(io_faults::reads(), 2u);
}

TEST_F(IpcRecvTest, WaitsBeforeItLooksWhereItIsToldTo) {
    wait_.act([this] {
        EXPECT_EQ(io_faults::reads(), 0u);
        write_bytes(pair_.test(), pattern(24));
        return Waited::kReady;
    });
    Bytes bytes(24);
    EXPECT_EQ(connection_.receive_later(bytes.data(), 24, 24, wait_), 24);
    EXPECT_EQ(bytes, pattern(24));
    EXPECT_EQ(io_faults::reads(), 1u);
    wait_.ends_with(Waited::kTimeout);
    EXPECT_EQ(connection_.receive_later(bytes.data(), 24, 24, wait_), 0);
    wait_.ends_with(Waited::kFailed, ENOMEM);
    EXPECT_LT(connection_.receive_later(bytes.data(), 24, 24, wait_), 0);
    EXPECT_EQ(io_faults::reads(), 1u);
}

/* ---- Reading and writing much ---------------------------------------------------------------------- */

TEST_F(IpcRecvTest, ReadsAStreamThatComesInPieces) {
    expect_to_read_a_stream();
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcRecvTest, TurnsToItsCallersWaitWhenAStreamStops) {
    write_bytes(pair_.test(), pattern(1000));
    wait_.ends_with(Waited::kTimeout);
    EXPECT_EQ(recv_stream(200000), 0);
    EXPECT_EQ(wait_.done(), std::vector<uint32_t>{1000});
    EXPECT_TRUE(logged_once(log_, kNoticeLevel, "frwk_ipc_recv", "select recv timeout!"));
}

TEST_F(IpcRecvTest, ReportsAStreamThatBreaksOff) {
    write_bytes(pair_.test(), pattern(1000));
    pair_.end_input();
    EXPECT_EQ(recv_stream(200000), 1000);
    EXPECT_EQ(wait_.waits(), 0u);
    EXPECT_EQ(log_.count("socket recv size error! errno="), 1u) << log_.text();
}

TEST_F(IpcRecvTest, ReadsAStreamOnADescriptorThatCanNotBlock) {
    libc::setsockopt.fail(EDOM);
    libc::setsockopt.forget_calls();
    expect_to_read_a_stream(time_limit_was_tried);
    EXPECT_GT(wait_.waits(), 0u);
}

TEST_F(IpcSendTest, WritesMoreThanTheQueueHoldsWhileThePeerReads) {
    for (const Mode mode : {Mode::kBlocking, Mode::kNonBlocking}) {
        reconnect(mode);
        expect_to_write_a_stream();
    }
}

TEST_F(IpcSendTest, WritesAStreamOnADescriptorThatCanNotBlock) {
    reconnect(Mode::kNonBlocking);
    libc::fcntl.fail(EBADF);
    libc::fcntl.forget_calls();
    expect_to_write_a_stream(blocking_was_tried);
    EXPECT_GT(wait_.waits(), 0u);
    EXPECT_TRUE(wait_.only_for(POLLOUT));
}

TEST_F(IpcSendTest, ChangesTheModeOfTheDescriptorOnceAndOnlyWhereItDoesNotBlock) {
    libc::fcntl.forget_calls();
    expect_to_write_a_stream();
    EXPECT_EQ(libc::fcntl.calls(), 0u);
    reconnect(Mode::kNonBlocking);
    libc::fcntl.forget_calls();
    expect_to_write_a_stream(blocking_was_tried);
    expect_to_write_a_stream();
    EXPECT_EQ(libc::fcntl.calls(), 1u);
}

TEST_F(IpcSendTest, TurnsToItsCallersWaitWhenThePeerDoesNotRead) {
    wait_.ends_with(Waited::kTimeout);
    const int32_t written = send(large());
    EXPECT_LT(written, static_cast<int32_t>(large().size()));
    EXPECT_EQ(wait_.done(), std::vector<uint32_t>{static_cast<uint32_t>(written)});
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_send", with_errno("ipc send error!", ETIMEDOUT)));
}

TEST_F(IpcSendTest, ReportsAWaitThatFails) {
    wait_.ends_with(Waited::kFailed, ENOMEM);
    EXPECT_LT(send(large()), static_cast<int32_t>(large().size()));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_send", with_errno("ipc send error!", ENOMEM)));
}

/* ---- Writing --------------------------------------------------------------------------------------- */

TEST_F(IpcSendTest, WritesAllBytes) {
    EXPECT_EQ(send(pattern(5000)), 5000);
    EXPECT_EQ(arrived(), pattern(5000));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcSendTest, WritesNothingForASizeOfZero) {
    EXPECT_EQ(connection_.send(nullptr, 0, nullptr, 0, wait_), 0);
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

/* ---- Writing in two parts -------------------------------------------------------------------------- */

TEST_F(IpcSendTest, WritesBothPartsInOneCall) {
    const Bytes bytes = pattern(5024);
    EXPECT_EQ(send(bytes, 24), 5024);
    EXPECT_EQ(io_faults::writes(), 1u);
    EXPECT_EQ(arrived(), bytes);
}

TEST_F(IpcSendTest, WritesAHeadAloneWhenNothingFollows) {
    EXPECT_EQ(send(pattern(24), 24), 24);
    EXPECT_EQ(arrived(), pattern(24));
}

TEST_F(IpcSendTest, GoesOnWhereverAWriteOfTwoPartsStopped) {
    for (const size_t each : {1u, 23u, 24u, 25u, 99u}) {
        SocketPair pair;
        io_faults::on_write([each](const io_faults::Output &real, int fd, const void *buf, size_t size) {
            return real(fd, buf, std::min(size, each));
        });
        const Bytes bytes = pattern(100);
        ipc::Connection connection = connection_of(pair);
        EXPECT_EQ(connection.send(bytes.data(), 24, bytes.data() + 24, 76, wait_), 100);
        connection = ipc::Connection();
        EXPECT_EQ(read_to_end(pair.test()), bytes) << each;
    }
}
