/*
 * An exchange that occupies the service thread for more than a second is logged, with its peer and its step.
 * The limit for exchanges ends one that holds it for too long.
 */
#include "frwk_common/ipc/server/exchange_watch.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <thread>

#include "doubles/base_doubles.h"
#include "support/fake_time.h"
#include "unit/frwk_common/io_faults.h"
#include "unit/frwk_common/ipc/server/service_fixture.h"
#include "unit/frwk_common/ipc/test_connection.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

FakeTime *g_time = nullptr;
int64_t g_handler_takes_ms = 0;

apps_err_e_type slow_handler(uint32_t, apps_message_id_e_type, const void *, int32_t, void *, uint32_t,
                             uint32_t) {
    g_time->pass(g_handler_takes_ms);
    return 0;
}

/* One exchange on a connected pair, on the test's own thread, in its own time. */
class ExchangeWatchTest : public IpcServiceTest {
  protected:
    ExchangeWatchTest() {
        g_time = &time_;
        g_s_ipc_handler = slow_handler;
        handler_takes(0);
    }

    static void handler_takes(int64_t ms) { g_handler_takes_ms = ms; }
    void peer_writes(const Bytes &bytes) { write_bytes(pair_.test(), bytes); }
    void peer_writes_at(int64_t ms, const Bytes &bytes) {
        time_.at(ms, [this, bytes] { peer_writes(bytes); });
    }
    void serve() { serve_request(pair_); }

    /* The line of an exchange with message 3001 of module 5; the peer is the test. */
    static std::string line(int64_t ms, const std::string &step) {
        return "process " + std::to_string(getpid()) + ", module [WLAN], has held the service for " +
               std::to_string(ms) + " ms with [E_APPS_MSG_ROUTER_DHCP_CFG_SET:3001]: " + step;
    }
    testing::AssertionResult said(const std::string &text) {
        return logged_once(log_, kWarningLevel, "frwk_ipc_handle", text);
    }
    size_t lines() { return log_.count("has held the service"); }

    FakeTime time_;
    SocketPair pair_;
};

}  // namespace

TEST_F(ExchangeWatchTest, SaysNothingOfAQuickOneAndAsksNobody) {
    peer_writes(request(100, pattern(100)));
    serve();
    EXPECT_EQ(lines(), 0u);
    EXPECT_EQ(libc::getsockopt.calls(), 0u);
    EXPECT_EQ(libc::clock_gettime.calls(), 2u);
}

TEST_F(ExchangeWatchTest, ASecondIsNotTooLong) {
    handler_takes(1000);
    peer_writes(request(4));
    serve();
    EXPECT_EQ(lines(), 0u);
}

TEST_F(ExchangeWatchTest, TellsOfAPeerThatSendsNoHeader) {
    serve();
    EXPECT_TRUE(said("process " + std::to_string(getpid()) +
                     " has held the service for 3000 ms: waiting for its header"));
    EXPECT_TRUE(logged_once(log_, kNoticeLevel, "select recv timeout!"));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "recv ipc header error!"));
}

TEST_F(ExchangeWatchTest, TellsOfAPeerThatSendsNoBody) {
    peer_writes(slice(request(4, pattern(10)), 0, 30));
    serve();
    EXPECT_TRUE(said(line(3000, "waiting for its body")));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv body error!"));
}

TEST_F(ExchangeWatchTest, TellsOfAPeerThatDripsOnceAndWhileItDoes) {
    const Bytes whole = request(4, pattern(100));
    size_t told_after = 0;
    for (size_t i = 0; i < whole.size(); ++i) {
        time_.at(static_cast<int64_t>(400 * i), [this, i, &whole, &told_after] {
            told_after = told_after == 0 && lines() == 1 ? i : told_after;
            peer_writes(slice(whole, i, 1));
        });
    }
    serve();
    EXPECT_EQ(read_bytes(pair_.test(), 12), words({0, 4, 0}));
    EXPECT_EQ(lines(), 1u) << log_.text();
    EXPECT_EQ(told_after, 4u);
}

TEST_F(ExchangeWatchTest, TellsOfAHandlerThatIsRegisteredLate) {
    g_s_ipc_handler = nullptr;
    base::os_msleep.stand_in([this](uint32_t ms) {
        time_.pass(ms);
        if (time_.passed_ms() >= 1200) {
            g_s_ipc_handler = slow_handler;
        }
    });
    peer_writes(request(4));
    serve();
    EXPECT_TRUE(said(line(1200, "waiting for the handler to be registered")));
}

TEST_F(ExchangeWatchTest, TellsOfASlowHandler) {
    handler_takes(1001);
    peer_writes(request(4));
    serve();
    EXPECT_TRUE(said(line(1001, "in the handler")));
    EXPECT_EQ(read_bytes(pair_.test(), 12), words({0, 4, 0}));
}

TEST_F(ExchangeWatchTest, NamesTheStepThatTookLongest) {
    handler_takes(300);
    peer_writes_at(800, request(4));
    serve();
    EXPECT_TRUE(said(line(1100, "waiting for its header")));
}

TEST_F(ExchangeWatchTest, TellsOfAnAnswerThatIsNotReadWhileItIsNot) {
    peer_writes(request(4 * 1024 * 1024));
    Bytes answer;
    std::thread reader([this, &answer] {
        EXPECT_TRUE(log_.wait_for("has held the service"));
        answer = read_bytes(pair_.test(), 4 * 1024 * 1024 + 8);
    });
    serve();
    reader.join();
    EXPECT_EQ(answer.size(), 4u * 1024 * 1024 + 8);
    EXPECT_TRUE(said(line(1020, "waiting for its answer to be read")));
}

TEST_F(ExchangeWatchTest, CountsTheHandlersTimeToThatOfTheAnswer) {
    handler_takes(900);
    peer_writes(request(4 * 1024 * 1024));
    time_.at(1100, [this] { pair_.close_test(); });
    serve();
    EXPECT_TRUE(said(line(1020, "in the handler")));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "send ipc rsp error!"));
}

TEST_F(ExchangeWatchTest, ASignalDoesNotEndTheWaitForAReader) {
    peer_writes(request(4 * 1024 * 1024));
    time_.signal_each(700);
    time_.at(5000, [this] { pair_.close_test(); });
    serve();
    EXPECT_EQ(lines(), 1u);
    EXPECT_EQ(log_.count("ipc send error! errno="), 1u);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("ipc send error!", EPIPE)));
}

TEST_F(ExchangeWatchTest, ASignalEndsTheWaitForARequest) {
    time_.signal_each(10);
    serve();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("select recv error!", EINTR)));
    EXPECT_EQ(log_.count("a signal handler ran on this thread"), 1u);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "recv ipc header error!"));
}

TEST_F(ExchangeWatchTest, ReportsAWaitForAReaderThatFails) {
    peer_writes(request(4 * 1024 * 1024));
    libc::poll.fail(ENOMEM);
    serve();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("ipc send error!", ENOMEM)));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "send ipc rsp error!"));
}

TEST_F(ExchangeWatchTest, NamesNoModuleForASenderThatIsNone) {
    for (const uint32_t src : {40u, 53u, 0xFFFFFFFFu}) {
        log_.clear();
        pair_.reopen();
        handler_takes(2000);
        peer_writes(words({src, 3001, 0, 3, 0, 0}));
        serve();
        EXPECT_EQ(log_.count("module [unknown], has held the service for 2000 ms"), 1u) << log_.text();
    }
}

TEST_F(ExchangeWatchTest, TellsOfAPeerThatTheKernelDoesNotKnow) {
    libc::getsockopt.fail(ENOBUFS);
    handler_takes(2000);
    peer_writes(request(0));
    serve();
    EXPECT_EQ(log_.count("process 0, module [WLAN]"), 1u) << log_.text();
}

/* ---- How it waits ---------------------------------------------------------------------------------- */

TEST_F(ExchangeWatchTest, GivesASenderItsTurnOnceBeforeItWaits) {
    libc::sched_yield.stand_in([this] {
        EXPECT_TRUE(time_.limits().empty());
        return 0;
    });
    peer_writes(slice(request(0), 0, 10));
    serve();
    EXPECT_EQ(libc::sched_yield.calls(), 1u);
    EXPECT_EQ(time_.limits(), std::vector<int>{3000});
}

TEST_F(ExchangeWatchTest, GivesASenderOfABodyAnotherTurn) {
    peer_writes(slice(request(0, pattern(10)), 0, 10));
    peer_writes_at(1, slice(request(0, pattern(10)), 10, 20));
    serve();
    EXPECT_EQ(libc::sched_yield.calls(), 2u);
    EXPECT_EQ(time_.limits(), (std::vector<int>{3000, 3000}));
}

TEST_F(ExchangeWatchTest, NeedsNoWaitWhenTheSenderWritesInItsTurn) {
    libc::sched_yield.stand_in([this] {
        peer_writes(request(4));
        return 0;
    });
    serve();
    EXPECT_EQ(read_bytes(pair_.test(), 12), words({0, 4, 0}));
    EXPECT_EQ(libc::poll.calls(), 0u);
}

TEST_F(ExchangeWatchTest, GivesNoTurnAwayWhenTheBytesAreThere) {
    peer_writes(request(4));
    serve();
    EXPECT_EQ(libc::sched_yield.calls(), 0u);
}

TEST_F(ExchangeWatchTest, StartsTheLimitAfreshForEachPiece) {
    const Bytes whole = request(4);
    for (size_t i = 0; i < whole.size(); ++i) {
        peer_writes_at(static_cast<int64_t>(2900 * i), slice(whole, i, 1));
    }
    serve();
    EXPECT_EQ(read_bytes(pair_.test(), 12), words({0, 4, 0}));
}

/* ---- With a limit for the whole exchange ----------------------------------------------------------- */

namespace {

constexpr uint32_t kLargeRoom = 4 * 1024 * 1024;

/* Less than a socket's queue holds, and enough for one more write. */
constexpr size_t kSomePieces = 110000;

class ExchangeLimitTest : public ExchangeWatchTest {
  protected:
    ExchangeLimitTest() { g_s_exchange_limit_s = 5; }

    /* One byte each 400 ms from the first one on. */
    void peer_drips(const Bytes &bytes) {
        for (size_t i = 0; i < bytes.size(); ++i) {
            peer_writes_at(static_cast<int64_t>(400 * i), slice(bytes, i, 1));
        }
    }
    void peer_reads_at(int64_t ms, size_t size) {
        time_.at(ms, [this, size] {
            int there = 0;
            ASSERT_EQ(ioctl(pair_.test(), FIONREAD, &there), 0);
            read_ += read_bytes(pair_.test(), std::min(size, static_cast<size_t>(there))).size();
        });
    }
    void peer_reads_the_rest_at(int64_t ms) {
        time_.at(ms, [this] {
            time_.wait_for_thread();
            reader_ =
                std::thread([this] { read_ += read_bytes(pair_.test(), kLargeRoom + 8 - read_).size(); });
        });
    }

    std::thread reader_;
    size_t read_ = 0;
};

}  // namespace

TEST_F(ExchangeLimitTest, EndsAHeaderThatDrips) {
    peer_drips(request(4));
    serve();
    EXPECT_EQ(time_.passed_ms(), 5000);
    EXPECT_TRUE(logged_once(log_, kNoticeLevel, "select recv timeout!"));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "recv ipc header error!"));
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(ExchangeLimitTest, EndsABodyThatDrips) {
    const Bytes whole = request(4, pattern(1000));
    peer_writes(slice(whole, 0, 500));
    peer_drips(slice(whole, 500, 524));
    serve();
    EXPECT_EQ(time_.passed_ms(), 5000);
    EXPECT_TRUE(logged_once(log_, kNoticeLevel, "select recv timeout!"));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv body error!"));
}

TEST_F(ExchangeLimitTest, CountsHeaderAndBodyTogether) {
    peer_writes_at(2900, slice(request(4, pattern(10)), 0, 24));
    peer_writes_at(5100, pattern(10));
    serve();
    EXPECT_EQ(time_.passed_ms(), 5000);
    EXPECT_EQ(time_.limits(), (std::vector<int>{3000, 2100}));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv body error!"));
}

TEST_F(ExchangeLimitTest, EndsARequestWhoseLastPieceComesTooLate) {
    g_s_exchange_limit_s = 1;
    peer_writes(slice(request(4), 0, 10));
    time_.at(900, [this] {
        time_.pass(200);
        peer_writes(slice(request(4), 10, 14));
    });
    serve();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "recv ipc header error!"));
}

TEST_F(ExchangeLimitTest, LeavesTheLimitOfEachWaitAsItIs) {
    serve();
    EXPECT_EQ(time_.limits(), std::vector<int>{3000});
}

TEST_F(ExchangeLimitTest, ServesARequestThatIsSlowButInTime) {
    const Bytes whole = request(4, pattern(10));
    peer_writes_at(1600, slice(whole, 0, 10));
    peer_writes_at(3200, slice(whole, 10, 16));
    peer_writes_at(4900, slice(whole, 26, 8));
    serve();
    EXPECT_EQ(read_bytes(pair_.test(), 12), words({0, 4, 0}));
}

TEST_F(ExchangeLimitTest, LeavesTheHandlerItsTime) {
    handler_takes(60000);
    peer_writes(request(kLargeRoom));
    peer_reads_the_rest_at(64000);
    serve();
    reader_.join();
    EXPECT_EQ(read_, size_t{kLargeRoom} + 8);
}

TEST_F(ExchangeLimitTest, EndsAnAnswerThatNobodyReads) {
    peer_writes(request(kLargeRoom));
    serve();
    EXPECT_EQ(time_.passed_ms(), 5000);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("ipc send error!", ETIMEDOUT)));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "send ipc rsp error!"));
}

TEST_F(ExchangeLimitTest, EndsAnAnswerThatIsReadNoMore) {
    peer_writes(request(kLargeRoom));
    peer_reads_at(4000, kSomePieces);
    serve();
    EXPECT_GE(time_.passed_ms(), 9000);
    EXPECT_LE(time_.passed_ms(), 10000);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "send ipc rsp error!"));
}

TEST_F(ExchangeLimitTest, WaitsForAPeerThatReadsSlowly) {
    peer_writes(request(kLargeRoom));
    for (int i = 1; i <= 10; ++i) {
        peer_reads_at(4000 * i, kSomePieces);
    }
    peer_reads_the_rest_at(44000);
    serve();
    reader_.join();
    EXPECT_EQ(read_, size_t{kLargeRoom} + 8);
    EXPECT_FALSE(log_.contains("send ipc rsp error!"));
}

TEST_F(ExchangeLimitTest, WaitsForAPeerThatReadsOnePieceInTime) {
    peer_writes(request(kLargeRoom));
    peer_reads_at(4000, kSomePieces);
    peer_reads_the_rest_at(9000);
    serve();
    reader_.join();
    EXPECT_EQ(read_, size_t{kLargeRoom} + 8);
}
