/*
 * One exchange byte by byte, the accept loop, and the start of the service.
 */
#include "frwk_common/ipc_service.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <future>
#include <thread>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "unit/frwk_common/child.h"
#include "unit/frwk_common/files.h"
#include "unit/frwk_common/io_faults.h"
#include "unit/frwk_common/log_checks.h"
#include "unit/frwk_common/module_test.h"
#include "unit/frwk_common/test_handler.h"
#include "unit/frwk_common/test_peer.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

/* A synchronous request of module 5 with message 3001 and a limit of 3 seconds. */
Bytes request(uint32_t rsp_size, const Bytes &body = {}) {
    return words({5, 3001, 0, 3, rsp_size, static_cast<uint32_t>(body.size())}) + body;
}

Bytes zeros(size_t size) {
    return Bytes(size);
}

os_mem_usage_t memory() {
    os_mem_usage_t usage;
    os_mem_usage(&usage);
    return usage;
}

/* The process is module 3, router, with a registered handler. */
class IpcServiceTest : public ModuleTest {
  protected:
    IpcServiceTest() {
        TestHandler::reset();
        g_s_ipc_handler = TestHandler::handle;
        live_blocks_ = memory().live_blocks;
    }
    ~IpcServiceTest() override { EXPECT_EQ(memory().live_blocks, live_blocks_); }

    LogCapture log_;

  private:
    uint32_t live_blocks_ = 0;
};

/* One exchange on a connected pair, on the test's own thread. */
class IpcExchangeTest : public IpcServiceTest {
  protected:
    /* Serves what the sender wrote before it closed its side; returns what came back. */
    Bytes serve(const Bytes &sent) {
        write_bytes(pair_.test(), sent);
        pair_.end_input();
        return serve_what_is_there();
    }
    Bytes serve_what_is_there() {
        frwk_ipc_handle(pair_.subject());
        pair_.close_subject();
        return read_to_end(pair_.test());
    }
    /* Lets no wait last: a silent sender runs into the limit at once. Notes the limits. */
    void run_out_of_time() {
        libc::poll.stand_in([this](pollfd *fds, nfds_t count, int limit) {
            const int ready = libc::poll.real(fds, count, 0);
            if (ready == 0) {
                limits_.push_back(limit);
            }
            return ready;
        });
    }
    /* Refuses the nth block that the library asks for. */
    static void refuse_block(unsigned number) {
        base::os_mem_malloc.forget_calls();
        base::os_mem_malloc.stand_in([number](size_t size) -> void * {
            return base::os_mem_malloc.calls() == number ? nullptr : base::os_mem_malloc.real(size);
        });
    }
    static unsigned blocks_asked_for() { return base::os_mem_malloc.calls(); }

    SocketPair pair_;
    std::vector<int> limits_;
};

}  // namespace

/* ---- One exchange ---------------------------------------------------------------------------------- */

TEST_F(IpcExchangeTest, ReadsARequestOfPlainBytes) {
    const Bytes sent = {5, 0, 0, 0, 0xB9, 0x0B, 0, 0, 0, 0, 0, 0,   7,
                        0, 0, 0, 4, 0,    0,    0, 2, 0, 0, 0, 'h', 'i'};
    TestHandler::reset(0, {1, 2, 3, 4});
    const Bytes answer = {0, 0, 0, 0, 4, 0, 0, 0, 1, 2, 3, 4};
    EXPECT_EQ(serve(sent), answer);

    const auto calls = TestHandler::calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].src, 5u);
    EXPECT_EQ(calls[0].msgid, 3001);
    EXPECT_EQ(calls[0].data, text_bytes("hi"));
    EXPECT_EQ(calls[0].data_len, 2);
    EXPECT_EQ(calls[0].rsp_size, 4u);
    EXPECT_EQ(calls[0].timeout, 7u);
}

TEST_F(IpcExchangeTest, AnswersTheWholeBufferEvenWhenTheHandlerWroteNothing) {
    EXPECT_EQ(serve(request(100)), words({0, 100}) + zeros(100));
}

TEST_F(IpcExchangeTest, FillsUpAShortAnswerWithZeros) {
    TestHandler::reset(0, text_bytes("abc"));
    EXPECT_EQ(serve(request(100)), words({0, 100}) + text_bytes("abc") + zeros(97));
}

TEST_F(IpcExchangeTest, GivesTheHandlerABufferOfZeros) {
    for (const uint32_t size : {1u, 1016u, 1017u, 70000u}) {
        SocketPair pair;
        TestHandler::reset();
        std::thread sender([&pair, size] {
            write_bytes(pair.test(), request(size));
            read_bytes(pair.test(), size + 8);
        });
        frwk_ipc_handle(pair.subject());
        sender.join();
        ASSERT_EQ(TestHandler::calls().size(), 1u);
        EXPECT_EQ(TestHandler::calls()[0].rsp_before, zeros(size));
    }
}

TEST_F(IpcExchangeTest, AnswersNothingButTheHeaderWithoutABuffer) {
    TestHandler::reset(-1);
    EXPECT_EQ(serve(request(0)), words({0xFFFFFFFF, 0}));
}

TEST_F(IpcExchangeTest, CarriesTheHandlersResult) {
    TestHandler::reset(2001);
    EXPECT_EQ(serve(request(4)), words({2001, 4, 0}));
}

TEST_F(IpcExchangeTest, HasNoDataForALengthOfZeroOrLess) {
    for (const uint32_t length : {0u, 0xFFFFFFFFu, 0x80000000u}) {
        SocketPair pair;
        TestHandler::reset();
        write_bytes(pair.test(), words({5, 3001, 0, 3, 4, length}));
        frwk_ipc_handle(pair.subject());
        EXPECT_EQ(read_bytes(pair.test(), 12), words({0, 4, 0})) << length;
        ASSERT_EQ(TestHandler::calls().size(), 1u);
        EXPECT_FALSE(TestHandler::calls()[0].has_data);
        EXPECT_EQ(TestHandler::calls()[0].data_len, static_cast<int32_t>(length));
    }
}

TEST_F(IpcExchangeTest, BodyOf1024BytesNeedsNoHeap) {
    EXPECT_EQ(serve(request(0, pattern(1024))), words({0, 0}));
    EXPECT_EQ(blocks_asked_for(), 0u);
    EXPECT_EQ(TestHandler::calls().at(0).data, pattern(1024));
}

TEST_F(IpcExchangeTest, BodyOf1025BytesTakesOneBlock) {
    EXPECT_EQ(serve(request(0, pattern(1025))), words({0, 0}));
    EXPECT_EQ(blocks_asked_for(), 1u);
    EXPECT_EQ(TestHandler::calls().at(0).data, pattern(1025));
}

TEST_F(IpcExchangeTest, AnswerOf1016BytesNeedsNoHeap) {
    TestHandler::reset(0, pattern(1016));
    EXPECT_EQ(serve(request(1016)), words({0, 1016}) + pattern(1016));
    EXPECT_EQ(blocks_asked_for(), 0u);
}

TEST_F(IpcExchangeTest, AnswerOf1017BytesTakesOneBlock) {
    TestHandler::reset(0, pattern(1017));
    EXPECT_EQ(serve(request(1017)), words({0, 1017}) + pattern(1017));
    EXPECT_EQ(blocks_asked_for(), 1u);
}

TEST_F(IpcExchangeTest, LargeBodyAndAnswerTakeABlockEach) {
    TestHandler::reset(0, pattern(50000));
    EXPECT_EQ(serve(request(50000, pattern(60000))), words({0, 50000}) + pattern(50000));
    EXPECT_EQ(blocks_asked_for(), 2u);
    EXPECT_EQ(TestHandler::calls().at(0).data, pattern(60000));
}

TEST_F(IpcExchangeTest, PutsARequestThatComesInPiecesTogether) {
    io_faults::on_read([](const io_faults::Transfer &real, int fd, void *buf, size_t size) {
        return real(fd, buf, std::min<size_t>(size, 5));
    });
    EXPECT_EQ(serve(request(4, pattern(300))), words({0, 4, 0}));
    EXPECT_EQ(TestHandler::calls().at(0).data, pattern(300));
}

TEST_F(IpcExchangeTest, LeavesBytesBehindTheBodyAlone) {
    EXPECT_EQ(serve(request(4, pattern(10)) + pattern(50)), words({0, 4, 0}));
    EXPECT_EQ(TestHandler::calls().at(0).data, pattern(10));
}

TEST_F(IpcExchangeTest, AsynchronousMessageIsNotAnswered) {
    EXPECT_EQ(serve(words({5, 3001, 1, 3, 0, 2}) + text_bytes("hi")), Bytes());
    ASSERT_EQ(TestHandler::calls().size(), 1u);
    EXPECT_EQ(TestHandler::calls()[0].data, text_bytes("hi"));
    EXPECT_FALSE(TestHandler::calls()[0].has_rsp);
    EXPECT_EQ(TestHandler::calls()[0].rsp_size, 0u);
}

TEST_F(IpcExchangeTest, AsynchronousMessageIsNotAnsweredWhateverItAsksFor) {
    EXPECT_EQ(serve(words({5, 3001, 2, 3, 100, 0})), Bytes());
    ASSERT_EQ(TestHandler::calls().size(), 1u);
    EXPECT_FALSE(TestHandler::calls()[0].has_rsp);
    EXPECT_EQ(TestHandler::calls()[0].rsp_size, 0u);
}

TEST_F(IpcExchangeTest, AnswersSystemMessagesWithoutAHandler) {
    g_s_ipc_handler = nullptr;
    EXPECT_EQ(serve(words({5, 6, 0, 3, 4, 0})), words({0, 4, 0}));
}

TEST_F(IpcExchangeTest, AnswersTheStatusWord) {
    frwk_set_module_status(0xCAFE);
    EXPECT_EQ(serve(words({5, 6, 0, 3, 4, 0})), words({0, 4, 0xCAFE}));
}

TEST_F(IpcExchangeTest, AnswersAStatusQueryForThreeBytesWithThree) {
    frwk_set_module_status(0xCAFE);
    EXPECT_EQ(serve(words({5, 6, 0, 3, 3, 0})), words({3, 3}) + zeros(3));
}

TEST_F(IpcExchangeTest, AnswersAProbe) {
    EXPECT_EQ(serve(words({5, 7, 0, 3, 0, 0})), words({0, 0}));
}

TEST_F(IpcExchangeTest, AnswersTheMemoryUsage) {
    const Bytes answer = serve(words({5, 8, 0, 3, 24, 0}));
    ASSERT_EQ(answer.size(), 32u);
    EXPECT_EQ(slice(answer, 0, 8), words({0, 24}));
    EXPECT_EQ(word_at(answer, 8 + 20), memory().warn_at);
    EXPECT_GE(word_at(answer, 8 + 4), word_at(answer, 8));
}

TEST_F(IpcExchangeTest, AnswersWith13WhenTheWebFindsNoHandler) {
    g_s_ipc_handler = nullptr;
    EXPECT_EQ(serve(words({17, 3001, 0, 3, 4, 0})), words({13, 4, 0}));
}

TEST_F(IpcExchangeTest, AnswersWith2WhenNoHandlerComesInTime) {
    g_s_ipc_handler = nullptr;
    EXPECT_EQ(serve(words({3, 3001, 0, 0, 4, 0})), words({2, 4, 0}));
}

TEST_F(IpcExchangeTest, ExitMessageEndsTheProcessWithoutAnAnswer) {
    const ChildEnd end = run_in_child([this] {
        write_bytes(pair_.test(), words({5, 1, 0, 3, 4, 0}));
        frwk_ipc_handle(pair_.subject());
        return std::string("came back");
    });
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.report, "");
    pair_.close_subject();
    EXPECT_EQ(read_to_end(pair_.test()), Bytes());
}

/* ---- Its trace ------------------------------------------------------------------------------------- */

TEST_F(IpcExchangeTest, TracesTheSenderAndThisModule) {
    serve(request(4));
    EXPECT_TRUE(
        logged_once(log_, kDebugLevel, "#### [WLAN]==>[ROUTER]::[E_APPS_MSG_ROUTER_DHCP_CFG_SET:3001] ####"));
}

TEST_F(IpcExchangeTest, TracesAnAsynchronousMessageTheSameWay) {
    serve(words({5, 3001, 1, 3, 0, 0}));
    EXPECT_TRUE(
        logged_once(log_, kDebugLevel, "#### [WLAN]==>[ROUTER]::[E_APPS_MSG_ROUTER_DHCP_CFG_SET:3001] ####"));
}

TEST_F(IpcExchangeTest, TracesAStatusQueryOnTheDebugChannelOnly) {
    serve(words({5, 6, 0, 3, 4, 0}));
    EXPECT_EQ(count_lines(log_.debug_lines(), kDebugLevel,
                          "#### [WLAN]==>[ROUTER]::[E_APPS_MSG_SYS_STATUS:6] ####"),
              1u);
    EXPECT_EQ(log_.system_lines().size(), 0u);
}

TEST_F(IpcExchangeTest, TracesARequestWhoseBodyIsMissing) {
    serve(slice(request(4, pattern(10)), 0, 24));
    EXPECT_EQ(log_.count("#### [WLAN]==>[ROUTER]::["), 1u);
}

/* ---- Bad input and faults -------------------------------------------------------------------------- */

TEST_F(IpcExchangeTest, DropsASenderThatLeavesAtOnce) {
    EXPECT_EQ(serve({}), Bytes());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "recv ipc header error!"));
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcExchangeTest, DropsAHeaderThatIsCutShort) {
    EXPECT_EQ(serve(slice(request(4), 0, 23)), Bytes());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "recv ipc header error!"));
    EXPECT_FALSE(log_.contains("####"));
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcExchangeTest, DropsASenderThatStaysSilentForThreeSeconds) {
    run_out_of_time();
    EXPECT_EQ(serve_what_is_there(), Bytes());
    EXPECT_EQ(limits_, std::vector<int>{3000});
    EXPECT_TRUE(logged_once(log_, kNoticeLevel, "select recv timeout!"));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "recv ipc header error!"));
}

TEST_F(IpcExchangeTest, DropsAHeaderThatStopsHalfWay) {
    run_out_of_time();
    write_bytes(pair_.test(), slice(request(4), 0, 12));
    EXPECT_EQ(serve_what_is_there(), Bytes());
    EXPECT_EQ(limits_, std::vector<int>{3000});
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "recv ipc header error!"));
}

TEST_F(IpcExchangeTest, DropsABodyThatIsCutShort) {
    for (const size_t size : {size_t{1024}, size_t{5000}}) {
        SocketPair pair;
        log_.clear();
        write_bytes(pair.test(), slice(request(4, pattern(size)), 0, 24 + size - 1));
        pair.end_input();
        frwk_ipc_handle(pair.subject());
        pair.close_subject();
        EXPECT_EQ(read_to_end(pair.test()), Bytes()) << size;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv body error!"));
    }
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcExchangeTest, DropsABodyThatNeverComes) {
    run_out_of_time();
    write_bytes(pair_.test(), slice(request(4, pattern(10)), 0, 24));
    EXPECT_EQ(serve_what_is_there(), Bytes());
    EXPECT_EQ(limits_, std::vector<int>{3000});
    EXPECT_TRUE(logged_once(log_, kNoticeLevel, "select recv timeout!"));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv body error!"));
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcExchangeTest, DropsARequestWhenThereIsNoMemoryForItsBody) {
    refuse_block(1);
    EXPECT_EQ(serve(request(4, pattern(2000))), Bytes());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc for ipc recv body error!"));
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcExchangeTest, DropsARequestWhenThereIsNoMemoryForItsAnswer) {
    refuse_block(1);
    EXPECT_EQ(serve(request(2000, pattern(10))), Bytes());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc for ipc rsp error!"));
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcExchangeTest, FreesTheBodyWhenThereIsNoMemoryForTheAnswer) {
    refuse_block(2);
    EXPECT_EQ(serve(request(2000, pattern(2000))), Bytes());
    EXPECT_EQ(blocks_asked_for(), 2u);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc for ipc rsp error!"));
}

TEST_F(IpcExchangeTest, RefusesABodyOfTwoGigabytes) {
    const uint32_t peak = memory().peak_bytes;
    EXPECT_EQ(serve(words({5, 3001, 0, 3, 4, 0x7FFFFFFF})), Bytes());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc for ipc recv body error!"));
    EXPECT_EQ(memory().peak_bytes, peak);
}

TEST_F(IpcExchangeTest, TakesAnAnswerSizeThatWrapsForNoMemory) {
    for (const uint32_t size : {0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFF8u}) {
        SocketPair pair;
        log_.clear();
        write_bytes(pair.test(), request(size));
        frwk_ipc_handle(pair.subject());
        pair.close_subject();
        EXPECT_EQ(read_to_end(pair.test()), Bytes()) << size;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc for ipc rsp error!"));
    }
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcExchangeTest, RefusesAnAnswerOfGigabytes) {
    for (const uint32_t size : {0xFFFFFFF7u, 0x7FFFFFFFu, 0x04000000u}) {
        SocketPair pair;
        log_.clear();
        write_bytes(pair.test(), request(size));
        frwk_ipc_handle(pair.subject());
        pair.close_subject();
        EXPECT_EQ(read_to_end(pair.test()), Bytes()) << size;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc for ipc rsp error!"));
    }
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcExchangeTest, GoesOnAfterAShortAnswerWrite) {
    io_faults::on_write([](const io_faults::Output &real, int fd, const void *buf, size_t size) {
        return real(fd, buf, std::min<size_t>(size, 5));
    });
    EXPECT_EQ(serve(request(100)), words({0, 100}) + zeros(100));
}

TEST_F(IpcExchangeTest, ReportsAnAnswerThatCanNotBeWritten) {
    io_faults::on_write([](const io_faults::Output &, int, const void *, size_t) -> ssize_t {
        errno = EPIPE;
        return -1;
    });
    EXPECT_EQ(serve(request(100)), Bytes());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("ipc send error!", EPIPE)));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "send ipc rsp error!"));
    EXPECT_EQ(TestHandler::calls().size(), 1u);
}

TEST_F(IpcExchangeTest, ReportsASenderThatDiedWhileItWasAnswered) {
    const Bytes sent = request(1024 * 1024);
    write_bytes(pair_.test(), sent);
    std::thread sender([this] {
        read_bytes(pair_.test(), 1000);
        pair_.close_test();
    });
    frwk_ipc_handle(pair_.subject());
    sender.join();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "send ipc rsp error!"));
    EXPECT_EQ(TestHandler::calls().size(), 1u);
}

/* ---- The service as a whole ------------------------------------------------------------------------ */

namespace {

/* A connection to a module's socket, or -1. */
int connect_to(const std::string &module_name) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)std::snprintf(address.sun_path, sizeof(address.sun_path), "%s", socket_path(module_name).c_str());
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        (void)close(fd);
        return -1;
    }
    limit_waits(fd);
    return fd;
}

/* What a module answers to a request. */
Bytes ask(const std::string &module_name, const Bytes &sent) {
    const int fd = connect_to(module_name);
    write_bytes(fd, sent);
    Bytes answer = read_to_end(fd);
    (void)close(fd);
    return answer;
}

/* With the real socket and the real thread, which stays until the test program ends. */
class IpcLoopTest : public IpcServiceTest {
  protected:
    IpcLoopTest() { frwk_ipc_init(); }
};

constexpr uint32_t kSlowMessage = 3002;

std::promise<void> *g_entered = nullptr;
std::shared_future<void> *g_released = nullptr;

apps_err_e_type slow_handler(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                             void *rsp, uint32_t rsp_size, uint32_t timeout) {
    if (msgid == static_cast<int32_t>(kSlowMessage)) {
        g_entered->set_value();
        g_released->wait();
    }
    return TestHandler::handle(src, msgid, data, data_len, rsp, rsp_size, timeout);
}

}  // namespace

TEST_F(IpcLoopTest, AnswersOneConnectionAfterAnother) {
    TestHandler::reset(7, text_bytes("ok"));
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(ask("router", request(4)), words({7, 4}) + text_bytes("ok") + zeros(2));
    }
    EXPECT_EQ(TestHandler::calls().size(), 50u);
}

TEST_F(IpcLoopTest, ClosesTheConnectionOfAnAsynchronousMessage) {
    EXPECT_EQ(ask("router", words({5, 3001, 1, 3, 0, 0})), Bytes());
    EXPECT_EQ(TestHandler::calls().size(), 1u);
}

TEST_F(IpcLoopTest, TakesNoConnectionBeforeTheCurrentOneIsDone) {
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    g_entered = &entered;
    g_released = &released;
    g_s_ipc_handler = slow_handler;

    std::thread first([] { ask("router", words({5, kSlowMessage, 0, 3, 0, 0})); });
    entered.get_future().wait();
    const int second = connect_to("router");
    write_bytes(second, request(4));
    EXPECT_EQ(libc::accept4.calls(), 1u);
    EXPECT_EQ(TestHandler::calls().size(), 0u);

    release.set_value();
    EXPECT_EQ(read_to_end(second), words({0, 4, 0}));
    first.join();
    const auto calls = TestHandler::calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].msgid, static_cast<int32_t>(kSlowMessage));
    (void)close(second);
}

TEST_F(IpcLoopTest, AnswersAfterEveryKindOfBadRequest) {
    const std::vector<Bytes> bad = {
        {}, pattern(23), words({5, 3001, 0, 3, 4, 0x7FFFFFFF}), request(0xFFFFFFFF), request(0xFFFFFFF8),
    };
    for (const Bytes &sent : bad) {
        const int fd = connect_to("router");
        write_bytes(fd, sent);
        (void)shutdown(fd, SHUT_WR);
        EXPECT_EQ(read_to_end(fd), Bytes());
        (void)close(fd);
        EXPECT_EQ(ask("router", request(4)), words({0, 4, 0}));
    }
}

TEST_F(IpcLoopTest, LeaksNothingWhenPeersConnectAndLeave) {
    EXPECT_EQ(ask("router", request(4)), words({0, 4, 0}));
    const size_t before = open_descriptors();
    const uint32_t blocks = memory().live_blocks;
    for (int i = 0; i < 2000; ++i) {
        (void)close(connect_to("router"));
    }
    EXPECT_EQ(ask("router", request(4)), words({0, 4, 0}));
    EXPECT_LE(open_descriptors(), before + 1);  // the last connection may still be closing
    EXPECT_EQ(memory().live_blocks, blocks);
}

TEST_F(IpcLoopTest, AnswersAfterAPeerThatDiedWhileItWasAnswered) {
    const int fd = connect_to("router");
    write_bytes(fd, request(1024 * 1024));
    read_bytes(fd, 8);
    (void)close(fd);
    EXPECT_EQ(ask("router", request(4)), words({0, 4, 0}));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "send ipc rsp error!"));
}

namespace {

/* The loop on a listener of the test, with failing accepts; it stays until the test program ends. */
class IpcAcceptTest : public IpcServiceTest {
  protected:
    /* Lets the first accepts fail, then starts the loop. */
    void start_with_failing_accepts(unsigned failures, int error) {
        libc::accept4.stand_in([failures, error](int fd, sockaddr *address, socklen_t *size, int flags) {
            if (libc::accept4.calls() <= failures) {
                errno = error;
                return -1;
            }
            return libc::accept4.real(fd, address, size, flags);
        });
        frwk_ipc_init();
    }
};

}  // namespace

TEST_F(IpcAcceptTest, TriesAgainAtOnceAfterAFailedAccept) {
    start_with_failing_accepts(3, ECONNABORTED);
    EXPECT_EQ(ask("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(log_.count(with_errno("ipc accept error!", ECONNABORTED)), 3u) << log_.text();
    EXPECT_EQ(log_.debug_lines().at(0).function, "frwk_ipc_loop");
    EXPECT_EQ(log_.debug_lines().at(0).level, kWarningLevel);
    EXPECT_EQ(base::os_msleep.calls() + base::os_sleep.calls(), 0u);
}

TEST_F(IpcAcceptTest, DropsAConnectionItHasNoDescriptorFor) {
    // The first accept of the loop fails; the next call is the one that takes the connection and drops it.
    start_with_failing_accepts(1, EMFILE);
    EXPECT_EQ(ask("router", request(4)), Bytes());
    EXPECT_EQ(ask("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(log_.count(with_errno("ipc accept error!", EMFILE)), 1u) << log_.text();
}

TEST_F(IpcAcceptTest, DoesNotSpinWithoutAListener) {
    g_s_ipcs_fd = -1;
    std::promise<void> paused;
    std::promise<void> never;
    std::shared_future<void> never_set = never.get_future().share();
    base::os_msleep.stand_in([&paused, never_set, first = true](uint32_t) mutable {
        if (first) {
            first = false;
            paused.set_value();
        }
        std::this_thread::sleep_for(std::chrono::hours(1));
    });
    libc::accept4.stand_in([](int, sockaddr *, socklen_t *, int) {
        errno = EBADF;
        return -1;
    });
    std::thread(frwk_ipc_loop, nullptr).detach();
    paused.get_future().wait();
    EXPECT_EQ(libc::accept4.calls(), 1u);
}

/* ---- Its start ------------------------------------------------------------------------------------- */

namespace {

/* The thread is only noted, never started. */
class IpcStartTest : public IpcServiceTest {
  protected:
    IpcStartTest() {
        make_ipc_folder();
        thread_start_gives(0);
        base::os_thread_join.stand_in([this](os_thread_t thread) {
            joined_.push_back(thread);
            return 0;
        });
    }
    ~IpcStartTest() override {
        if (g_s_ipcs_fd >= 0 && g_s_ipcs_fd != kSomeDescriptor) {
            (void)close(g_s_ipcs_fd);
        }
    }

    void thread_start_gives(int32_t result) {
        base::os_thread_create.stand_in([this, result](os_thread_t *thread, const os_thread_attr *attr,
                                                       os_thread_entry entry, void *argument) {
            detached_ = attr != nullptr ? attr->detached : 1;
            entry_ = entry;
            argument_ = argument;
            if (result == 0) {
                *thread = kThread;
            }
            return result;
        });
    }
    static void sockets_fail() {
        libc::socket.stand_in([](int, int, int) {
            errno = EMFILE;
            return -1;
        });
    }

    static constexpr os_thread_t kThread = 4711;
    static constexpr int kSomeDescriptor = 1000000;

    uint32_t detached_ = 2;
    os_thread_entry entry_ = nullptr;
    void *argument_ = this;
    std::vector<os_thread_t> joined_;
};

}  // namespace

TEST_F(IpcStartTest, OpensTheSocketAndStartsTheThread) {
    frwk_ipc_init();
    EXPECT_GE(g_s_ipcs_fd, 0);
    EXPECT_EQ(g_s_ipc_thread, kThread);
    EXPECT_EQ(entry_, frwk_ipc_loop);
    EXPECT_EQ(argument_, nullptr);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcStartTest, StartsAThreadThatCanBeJoined) {
    frwk_ipc_init();
    EXPECT_EQ(detached_, 0u);
}

TEST_F(IpcStartTest, AssertsTheSocketAndStartsTheThreadAllTheSame) {
    sockets_fail();
    frwk_ipc_init();
    EXPECT_EQ(g_s_ipcs_fd, -1);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "frwk_ipc_socket", with_errno("create ipc socket error!", EMFILE)));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_init", assertion("0 <= g_s_ipcs_fd")));
    EXPECT_EQ(g_s_ipc_thread, kThread);
}

TEST_F(IpcStartTest, AssertsTheThread) {
    thread_start_gives(EAGAIN);
    frwk_ipc_init();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_init", assertion("0 == ret")));
    EXPECT_EQ(g_s_ipc_thread, 0u);
}

TEST_F(IpcStartTest, RegistrationSetsTheStatusToOne) {
    EXPECT_EQ(g_s_module_status, 0u);
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_module_status, 1u);
}

TEST_F(IpcStartTest, RegistrationStartsAServiceThatDoesNotRun) {
    g_s_ipc_handler = nullptr;
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_ipc_handler, TestHandler::handle);
    EXPECT_EQ(base::os_thread_create.calls(), 1u);
    EXPECT_GE(g_s_ipcs_fd, 0);
}

TEST_F(IpcStartTest, RegistrationLeavesARunningServiceAlone) {
    g_s_ipcs_fd = kSomeDescriptor;
    g_s_ipc_thread = 12;
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_ipcs_fd, kSomeDescriptor);
    EXPECT_EQ(g_s_ipc_thread, 12u);
    EXPECT_EQ(base::os_thread_create.calls(), 0u);
    EXPECT_EQ(libc::socket.calls(), 0u);
    EXPECT_EQ(g_s_module_status, 1u);
}

TEST_F(IpcStartTest, DescriptorZeroCountsAsAListeningSocket) {
    g_s_ipcs_fd = 0;
    g_s_ipc_thread = 12;
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(libc::socket.calls(), 0u);
    g_s_ipcs_fd = -1;
}

TEST_F(IpcStartTest, RegistrationTriesAgainToOpenASocketThatFailed) {
    g_s_ipcs_fd = -1;
    g_s_ipc_thread = 12;
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_GE(g_s_ipcs_fd, 0);
}

TEST_F(IpcStartTest, RegistrationReplacesTheHandler) {
    frwk_ipc_service_ex(slow_handler, 0);
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_ipc_handler, TestHandler::handle);
    EXPECT_EQ(base::os_thread_create.calls(), 1u);
}

TEST_F(IpcStartTest, RegistrationSetsTheStatusBackToOne) {
    frwk_set_module_status(9);
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_EQ(g_s_module_status, 1u);
}

TEST_F(IpcStartTest, ReturnsAtOnceWithoutTheWishToWait) {
    frwk_ipc_service_ex(TestHandler::handle, 0);
    EXPECT_TRUE(joined_.empty());
}

TEST_F(IpcStartTest, WaitsForTheServiceThread) {
    for (const int32_t wait : {1, -1, 7}) {
        joined_.clear();
        frwk_ipc_service_ex(TestHandler::handle, wait);
        EXPECT_EQ(joined_, std::vector<os_thread_t>{kThread}) << wait;
    }
}

TEST_F(IpcStartTest, ServiceWithOneArgumentWaits) {
    frwk_ipc_service(TestHandler::handle);
    EXPECT_EQ(g_s_ipc_handler, TestHandler::handle);
    EXPECT_EQ(joined_, std::vector<os_thread_t>{kThread});
}

TEST_F(IpcStartTest, SurvivesTheWaitForAThreadThatCouldNotBeStarted) {
    thread_start_gives(EAGAIN);
    base::os_thread_join.restore();
    frwk_ipc_service(TestHandler::handle);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_init", assertion("0 == ret")));
    EXPECT_EQ(g_s_module_status, 1u);
}

TEST_F(IpcStartTest, StatusIsWhatTheModuleSays) {
    frwk_set_module_status(0xFFFFFFFF);
    EXPECT_EQ(g_s_module_status, 0xFFFFFFFFu);
}
