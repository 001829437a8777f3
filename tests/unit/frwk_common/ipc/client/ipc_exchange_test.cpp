/*
 * One exchange, byte by byte: the service on one end of a connected pair, the test on the other.
 */
#include "frwk_common/ipc/server/ipc_service.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <thread>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/dirty_memory.h"
#include "doubles/libc_doubles.h"
#include "support/child.h"
#include "unit/frwk_common/io_faults.h"
#include "unit/frwk_common/ipc/server/service_fixture.h"
#include "unit/frwk_common/ipc/test_connection.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

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
        serve_request(pair_);
        return read_to_end(pair_.test());
    }
    /* A request for an answer of this size counts as lack of memory. */
    void expect_no_answer_of(uint32_t size) {
        SocketPair pair;
        log_.clear();
        write_bytes(pair.test(), request(size));
        serve_request(pair);
        EXPECT_EQ(read_to_end(pair.test()), Bytes()) << size;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc for ipc rsp error!"));
        EXPECT_EQ(TestHandler::calls().size(), 0u);
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

/* ---- Requests and answers ------------------------------------------------------------------------------ */

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

TEST_F(IpcExchangeTest, GivesTheHandlerABufferOfZerosWhateverTheAllocatorLeaves) {
    hand_out_dirty_blocks();
    for (const uint32_t size : {1u, 1016u, 1017u, 70000u, 200000u}) {
        SocketPair pair;
        TestHandler::reset();
        std::thread sender([&pair, size] {
            write_bytes(pair.test(), request(size));
            read_bytes(pair.test(), size + 8);
        });
        serve_request(pair);
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
        serve_request(pair);
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
    EXPECT_EQ(word_at(answer, 8 + 20), memory_usage().warn_at);
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
        serve_request(pair_);
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
        serve_request(pair);
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
    const uint32_t peak = memory_usage().peak_bytes;
    EXPECT_EQ(serve(words({5, 3001, 0, 3, 4, 0x7FFFFFFF})), Bytes());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc for ipc recv body error!"));
    EXPECT_EQ(memory_usage().peak_bytes, peak);
}

TEST_F(IpcExchangeTest, TakesAnAnswerSizeThatWrapsForNoMemory) {
    for (const uint32_t size : {0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFF8u}) {
        expect_no_answer_of(size);
    }
}

TEST_F(IpcExchangeTest, RefusesAnAnswerOfGigabytes) {
    for (const uint32_t size : {0xFFFFFFF7u, 0x7FFFFFFFu, 0x04000000u}) {
        expect_no_answer_of(size);
    }
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
    serve_request(pair_);
    sender.join();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "send ipc rsp error!"));
    EXPECT_EQ(TestHandler::calls().size(), 1u);
}
