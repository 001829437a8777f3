/*
 * Synchronous requests: what goes over the socket, every result and its text, requests to itself, and the
 * status of a module.
 */
#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "support/files.h"
#include "support/open_descriptors.h"
#include "unit/frwk_common/ipc/client/request_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

class IpcSyncTest : public IpcRequestTest {
  protected:
    /* Sends a request with a patterned buffer of this size to a peer with this answer. */
    apps_err_e_type ask_for(uint32_t room, const Bytes &answer) {
        const AnsweringPeer wlan("wlan", answer);
        rsp_ = pattern(room);
        return ask();
    }
};

/* Buffer sizes around the limit up to which an answer is read at once. */
constexpr uint32_t kRooms[] = {1, 8, 1015, 1016, 1017, 1023, 1024, 1025, 5000};
constexpr uint32_t kSmallRoom = 1024;

Bytes answer_of(uint32_t result, uint32_t length, const Bytes &data) {
    return words({result, length}) + data;
}

}  // namespace

/* ---- Synchronous requests -------------------------------------------------------------------------- */

TEST_F(IpcSyncTest, WritesTheHeaderAndTheBody) {
    AnsweringPeer wlan("wlan", words({0, 4, 0x01020304}));
    const Bytes body = text_bytes("hello");
    Bytes rsp(4);
    EXPECT_EQ(frwk_ipc_send_sync(kWlan, 5001, body.data(), 5, rsp.data(), 4, 77, &result_), 0);
    EXPECT_EQ(wlan.request(), words({3, 5001, 0, 77, 4, 5}) + body);
    EXPECT_EQ(rsp, words({0x01020304}));
    EXPECT_EQ(result_, 0);
}

TEST_F(IpcSyncTest, WritesPlainBytesLowByteFirst) {
    AnsweringPeer wlan("wlan", Bytes(8));
    EXPECT_EQ(frwk_ipc_send_sync(kWlan, 5001, "hi", 2, nullptr, 0, 0x0A0B, &result_), 0);
    const Bytes expected = {3,    0, 0, 0, 0x89, 0x13, 0, 0, 0, 0, 0, 0,   0x0B,
                            0x0A, 0, 0, 0, 0,    0,    0, 2, 0, 0, 0, 'h', 'i'};
    EXPECT_EQ(wlan.request(), expected);
}

TEST_F(IpcSyncTest, WritesTheHeaderAndTheBodyInOnePiece) {
    AnsweringPeer wlan("wlan", words({0, 0}));
    EXPECT_EQ(ask_with(pattern(5000)), 0);
    EXPECT_EQ(io_faults::writes(), 1u);
    EXPECT_EQ(wlan.request().size(), 5024u);
}

TEST_F(IpcSyncTest, IsTraced) {
    AnsweringPeer wlan("wlan", words({0, 0}));
    ask_with({});
    EXPECT_TRUE(logged_once(log_, kDebugLevel,
                            "#### [ROUTER]==>[WLAN]::[E_APPS_MSG_WLAN_SET_FEATURE_PARAMS:5001] ####"));
}

TEST_F(IpcSyncTest, HandsTheHandlersResultThroughThePointer) {
    const AnsweringPeer wlan("wlan", words({7, 8, 1, 2}));
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(result_, 7);
    EXPECT_EQ(rsp_, words({1, 2}));
}

TEST_F(IpcSyncTest, HandsANegativeResultThrough) {
    const AnsweringPeer wlan("wlan", words({0xFFFFFFFF, 0}));
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(result_, -1);
}

TEST_F(IpcSyncTest, AHandlersTimeOutIsTheRequestsTimeOut) {
    const AnsweringPeer wlan("wlan", words({2, 8, 0, 0}));
    EXPECT_EQ(ask(), 2);
    EXPECT_EQ(result_, 2);
}

TEST_F(IpcSyncTest, NeedsNoPlaceForTheResult) {
    const AnsweringPeer wlan("wlan", words({7, 0}));
    EXPECT_EQ(frwk_ipc_send_sync(kWlan, 5001, nullptr, 0, nullptr, 0, 3, nullptr), 0);
}

TEST_F(IpcSyncTest, RefusesAModuleThatIsNone) {
    for (const uint32_t module : {0u, 53u, 54u, 1000u, 0x80000000u, UINT32_MAX}) {
        log_.clear();
        EXPECT_EQ(frwk_ipc_send_sync(module, 5001, nullptr, 0, nullptr, 0, 3, &result_), 1) << module;
        EXPECT_TRUE(logged_once(log_, kWarningLevel,
                                "invalid module id=" + std::to_string(static_cast<int32_t>(module))));
        EXPECT_FALSE(log_.contains("####"));
    }
    EXPECT_EQ(libc::socket.calls(), 0u);
    EXPECT_EQ(result_, kUntouched);
}

TEST_F(IpcSyncTest, RefusesALengthWithoutABuffer) {
    EXPECT_EQ(frwk_ipc_send_sync(kWlan, 5001, nullptr, 1, nullptr, 0, 3, &result_), 3);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "invalid request arguments!"));
    log_.clear();
    EXPECT_EQ(frwk_ipc_send_sync(kWlan, 5001, nullptr, 0, nullptr, 1, 3, &result_), 3);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "invalid request arguments!"));
    EXPECT_FALSE(log_.contains("####"));
    EXPECT_EQ(libc::socket.calls(), 0u);
    EXPECT_EQ(result_, kUntouched);
}

TEST_F(IpcSyncTest, LooksAtTheModuleBeforeTheBuffers) {
    EXPECT_EQ(frwk_ipc_send_sync(0, 5001, nullptr, 1, nullptr, 1, 3, nullptr), 1);
    EXPECT_FALSE(log_.contains("invalid request arguments!"));
}

TEST_F(IpcSyncTest, LooksAtTheBuffersOfAMessageToItselfToo) {
    g_s_ipc_handler = TestHandler::handle;
    EXPECT_EQ(frwk_ipc_send_sync(kSelf, 3001, nullptr, 1, nullptr, 0, 3, &result_), 3);
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcSyncTest, AcceptsBuffersWithoutALength) {
    AnsweringPeer wlan("wlan", words({0, 0}));
    char unused = 'x';
    EXPECT_EQ(frwk_ipc_send_sync(kWlan, 5001, &unused, 0, &unused, 0, 3, nullptr), 0);
    EXPECT_EQ(wlan.request(), words({3, 5001, 0, 3, 0, 0}));
    EXPECT_EQ(unused, 'x');
}

TEST_F(IpcSyncTest, FailsAtOnceWhenTheModuleDoesNotRun) {
    (void)unlink("/tmp/m_tmp/ipc/wlan");
    EXPECT_EQ(frwk_ipc_send_sync(kWlan, 5001, nullptr, 0, nullptr, 0, 3600, &result_), 1);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc connect to module [wlan] failed!"));
    EXPECT_EQ(libc::poll.calls(), 0u);
    EXPECT_EQ(result_, kUntouched);
}

TEST_F(IpcSyncTest, FailsForAnEmptySlot) {
    EXPECT_EQ(frwk_ipc_send_sync(40, 5001, nullptr, 0, nullptr, 0, 3, &result_), 1);
    EXPECT_EQ(log_.count("ipc connect to module ["), 1u);
}

TEST_F(IpcSyncTest, RequestOf1000BytesNeedsNoHeap) {
    AnsweringPeer wlan("wlan", words({0, 0}));
    EXPECT_EQ(ask_with(pattern(1000)), 0);
    EXPECT_EQ(base::os_mem_malloc.calls(), 0u);
    EXPECT_EQ(slice(wlan.request(), 24, 2000), pattern(1000));
}

TEST_F(IpcSyncTest, RequestOf1001BytesTakesOneBlock) {
    AnsweringPeer wlan("wlan", words({0, 0}));
    EXPECT_EQ(ask_with(pattern(1001)), 0);
    EXPECT_EQ(base::os_mem_malloc.calls(), 1u);
    EXPECT_EQ(slice(wlan.request(), 24, 2000), pattern(1001));
}

TEST_F(IpcSyncTest, ReportsThatThereIsNoMemory) {
    const TestListener wlan("wlan");
    refuse_blocks();
    EXPECT_EQ(ask_with(pattern(1001)), 5);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc failed for ipc req!"));
    EXPECT_EQ(wlan.take_message(), Bytes());
    EXPECT_EQ(result_, kUntouched);
}

TEST_F(IpcSyncTest, ConnectsBeforeItLooksForMemory) {
    (void)unlink("/tmp/m_tmp/ipc/wlan");
    refuse_blocks();
    EXPECT_EQ(ask_with(pattern(1001)), 1);
    EXPECT_FALSE(log_.contains("alloc failed for ipc req!"));
}

TEST_F(IpcSyncTest, TakesALengthThatWrapsForNoMemory) {
    const TestListener wlan("wlan");
    const char body = 'x';
    for (const uint32_t length : {UINT32_MAX, UINT32_MAX - 22, UINT32_MAX - 23, 0x80000000u}) {
        log_.clear();
        EXPECT_EQ(frwk_ipc_send_sync(kWlan, 5001, &body, length, nullptr, 0, 3, &result_), 5) << length;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc failed for ipc req!"));
        EXPECT_EQ(wlan.take_message(), Bytes());
    }
}

TEST_F(IpcSyncTest, ReportsAShortWrite) {
    const TestListener wlan("wlan");
    writes_break_off();
    EXPECT_EQ(ask_with(pattern(2000)), 18);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc send req msg failed!"));
    EXPECT_EQ(wlan.take_message().size(), 10u);
    EXPECT_EQ(result_, kUntouched);
}

TEST_F(IpcSyncTest, ReportsAReceiverThatClosesWithoutAnAnswer) {
    const AnsweringPeer wlan("wlan", {});
    EXPECT_EQ(ask(), 19);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv rsp header failed!"));
    EXPECT_EQ(result_, kUntouched);
}

TEST_F(IpcSyncTest, ReportsAnAnswerHeaderThatIsCutShort) {
    const AnsweringPeer wlan("wlan", Bytes(7));
    EXPECT_EQ(ask(), 19);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv rsp header failed!"));
}

TEST_F(IpcSyncTest, ReportsAnswerDataThatIsCutShort) {
    const AnsweringPeer wlan("wlan", words({0, 8, 1}));
    EXPECT_EQ(ask(), 19);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv rsp data failed!"));
    EXPECT_EQ(result_, kUntouched);
}

TEST_F(IpcSyncTest, LeavesTheBufferAloneWhenASmallAnswerIsCutShort) {
    for (const uint32_t room : kRooms) {
        if (room <= kSmallRoom) {
            EXPECT_EQ(ask_for(room, answer_of(0, room, Bytes(room - 1, 0xEE))), 19) << room;
            EXPECT_EQ(rsp_, pattern(room));
        }
    }
}

TEST_F(IpcSyncTest, LeavesTheBufferAloneWhenTheAnswerIsCutInItsHeader) {
    for (const uint32_t room : kRooms) {
        EXPECT_EQ(ask_for(room, Bytes(7, 0xEE)), 19) << room;
        EXPECT_EQ(rsp_, pattern(room));
    }
}

TEST_F(IpcSyncTest, ALargeAnswerThatIsCutShortLeavesAtMostItsOwnBytes) {
    EXPECT_EQ(ask_for(2000, answer_of(0, 1500, Bytes(1000, 0xEE))), 19);
    EXPECT_EQ(slice(rsp_, 1000, 1000), slice(pattern(2000), 1000, 1000));
}

TEST_F(IpcSyncTest, RefusesAnAnswerThatDoesNotFit) {
    const AnsweringPeer wlan("wlan", words({0, 9, 1, 2, 3}));
    EXPECT_EQ(ask(), 9);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv rsp buffer not big enough!"));
    EXPECT_EQ(result_, kUntouched);
}

TEST_F(IpcSyncTest, LeavesTheBufferAloneWhenTheAnswerDoesNotFit) {
    for (const uint32_t room : kRooms) {
        EXPECT_EQ(ask_for(room, answer_of(0, room + 1, Bytes(room + 1, 0xEE))), 9) << room;
        EXPECT_EQ(rsp_, pattern(room));
    }
}

TEST_F(IpcSyncTest, KeepsWhatFollowsTheAnswerOutOfTheBuffer) {
    for (const uint32_t room : kRooms) {
        EXPECT_EQ(ask_for(room, answer_of(6, 1, Bytes(size_t{2} * room, 0xEE))), 0) << room;
        EXPECT_EQ(rsp_, Bytes(1, 0xEE) + slice(pattern(room), 1, room)) << room;
        EXPECT_EQ(ask_for(room, answer_of(6, 0, Bytes(room, 0xEE))), 0) << room;
        EXPECT_EQ(rsp_, pattern(room));
        EXPECT_EQ(ask_for(room, answer_of(6, 0xFFFFFFFF, Bytes(room, 0xEE))), 0) << room;
        EXPECT_EQ(rsp_, pattern(room));
    }
}

TEST_F(IpcSyncTest, TakesAnAnswerThatFillsItsBuffer) {
    for (const uint32_t room : kRooms) {
        EXPECT_EQ(ask_for(room, answer_of(6, room, Bytes(room, 0xEE))), 0) << room;
        EXPECT_EQ(rsp_, Bytes(room, 0xEE));
    }
}

/* The peer has answered and closed before the first read. */
TEST_F(IpcSyncTest, ReadsASmallAnswerAtOnceAndALargeOneBehindItsHeader) {
    for (const uint32_t room : kRooms) {
        libc::recv.restore();
        AnsweringPeer wlan("wlan", answer_of(0, room, Bytes(room, 0xEE)));
        libc::recv.forget_calls();
        libc::recv.stand_in([&wlan](int fd, void *buf, size_t size, int flags) {
            (void)wlan.request();
            return libc::recv.real(fd, buf, size, flags);
        });
        rsp_.assign(room, 0);
        EXPECT_EQ(ask(), 0) << room;
        EXPECT_EQ(libc::recv.calls(), room <= kSmallRoom ? 1u : 2u) << room;
    }
}

TEST_F(IpcSyncTest, RefusesAnAnswerThatIsNotWanted) {
    const AnsweringPeer wlan("wlan", words({0, 1, 1}));
    EXPECT_EQ(ask_with({}), 9);
}

TEST_F(IpcSyncTest, RefusesAnAnswerOfTwoGigabytes) {
    const AnsweringPeer wlan("wlan", words({0, 0x7FFFFFFF}));
    EXPECT_EQ(ask(), 9);
}

TEST_F(IpcSyncTest, AcceptsAnAnswerShorterThanItsBuffer) {
    const AnsweringPeer wlan("wlan", words({0, 4, 9}));
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(rsp_, words({9, 0}));
}

TEST_F(IpcSyncTest, HasNoDataForAnAnswerLengthOfZeroOrLess) {
    for (const uint32_t length : {0u, 0xFFFFFFFFu, 0x80000000u}) {
        const AnsweringPeer wlan("wlan", words({6, length}));
        rsp_ = pattern(8);
        EXPECT_EQ(ask(), 0) << length;
        EXPECT_EQ(result_, 6);
        EXPECT_EQ(rsp_, pattern(8));
    }
}

TEST_F(IpcSyncTest, NeedsOneWaitAndOneReadForASmallAnswer) {
    const AnsweringPeer wlan("wlan", words({0, 8, 1, 2}));
    libc::fcntl.forget_calls();
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(libc::poll.calls(), 1u);
    EXPECT_EQ(libc::recv.calls(), 1u);
    EXPECT_EQ(libc::fcntl.calls(), 0u);
}

TEST_F(IpcSyncTest, ReportsAnAnswerThatCanNotBeWaitedFor) {
    const TestListener wlan("wlan");
    libc::poll.fail(ENOMEM);
    EXPECT_EQ(ask(), 19);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("select recv error!", ENOMEM)));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv rsp header failed!"));
    EXPECT_EQ(result_, kUntouched);
}

TEST_F(IpcSyncTest, ReadsALargeAnswerStraightIntoTheBuffer) {
    const Bytes data = pattern(300000);
    const AnsweringPeer wlan("wlan", words({0, 300000}) + data);
    rsp_.assign(300000, 0);
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(rsp_, data);
    EXPECT_EQ(base::os_mem_malloc.calls(), 0u);
}

TEST_F(IpcSyncTest, ClosesItsConnectionInEveryCase) {
    const size_t before = open_descriptors();
    {
        const AnsweringPeer wlan("wlan", words({0, 0}));
        EXPECT_EQ(ask(), 0);
    }
    {
        const AnsweringPeer wlan("wlan", {});
        EXPECT_EQ(ask(), 19);
    }
    {
        const AnsweringPeer wlan("wlan", words({0, 9}));
        EXPECT_EQ(ask(), 9);
    }
    {
        const TestListener wlan("wlan");
        refuse_blocks();
        EXPECT_EQ(ask_with(pattern(1001)), 5);
        base::os_mem_malloc.restore();
        writes_break_off();
        EXPECT_EQ(ask_with(pattern(1001)), 18);
        doubles::libc::send.restore();
        doubles::libc::write.restore();
    }
    EXPECT_EQ(open_descriptors(), before);
}

/* ---- Synchronous requests to itself ---------------------------------------------------------------- */

TEST_F(IpcSyncTest, OwnRequestCallsTheHandlerOnTheCallersThread) {
    TestHandler::reset(7, text_bytes("own"));
    g_s_ipc_handler = TestHandler::handle;
    const Bytes body = text_bytes("hello");
    EXPECT_EQ(frwk_ipc_send_sync(kSelf, 3001, body.data(), 5, rsp_.data(), 8, 44, &result_), 0);
    EXPECT_EQ(result_, 7);
    EXPECT_EQ(slice(rsp_, 0, 3), text_bytes("own"));

    const auto calls = TestHandler::calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].src, kSelf);
    EXPECT_EQ(calls[0].msgid, 3001);
    EXPECT_EQ(calls[0].data, body);
    EXPECT_EQ(calls[0].rsp_size, 8u);
    EXPECT_EQ(calls[0].timeout, 44u);
    EXPECT_EQ(libc::socket.calls(), 0u);
    EXPECT_EQ(base::os_thread_create.calls(), 0u);
    EXPECT_EQ(base::os_mem_malloc.calls(), 0u);
}

TEST_F(IpcSyncTest, OwnRequestReturnsZeroWhateverTheHandlerSaid) {
    for (const int32_t result : {0, -1, 2, 7, 2001}) {
        TestHandler::reset(result);
        g_s_ipc_handler = TestHandler::handle;
        EXPECT_EQ(frwk_ipc_send_sync(kSelf, 3001, nullptr, 0, nullptr, 0, 3, &result_), 0);
        EXPECT_EQ(result_, result);
    }
}

TEST_F(IpcSyncTest, OwnRequestNeedsNoPlaceForTheResult) {
    TestHandler::reset(7);
    g_s_ipc_handler = TestHandler::handle;
    EXPECT_EQ(frwk_ipc_send_sync(kSelf, 3001, nullptr, 0, nullptr, 0, 3, nullptr), 0);
    EXPECT_EQ(TestHandler::calls().size(), 1u);
}

TEST_F(IpcSyncTest, OwnRequestIsTraced) {
    g_s_ipc_handler = TestHandler::handle;
    frwk_ipc_send_sync(kSelf, 3001, nullptr, 0, nullptr, 0, 3, nullptr);
    EXPECT_TRUE(logged_once(log_, kDebugLevel,
                            "#### [ROUTER]==>[ROUTER]::[E_APPS_MSG_ROUTER_DHCP_CFG_SET:3001] ####"));
}

TEST_F(IpcSyncTest, OwnSystemMessageIsAnsweredToo) {
    frwk_set_module_status(12);
    EXPECT_EQ(frwk_ipc_send_sync(kSelf, 6, nullptr, 0, rsp_.data(), 4, 3, &result_), 0);
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(word_at(rsp_, 0), 12u);
}

TEST_F(IpcSyncTest, OwnRequestHasNoDataForALengthOfZero) {
    g_s_ipc_handler = TestHandler::handle;
    EXPECT_EQ(frwk_ipc_send_sync(kSelf, 3001, nullptr, 0, nullptr, 0, 3, &result_), 0);
    EXPECT_FALSE(TestHandler::calls().at(0).has_data);
    EXPECT_FALSE(TestHandler::calls().at(0).has_rsp);
}

/* ---- Its thin forms -------------------------------------------------------------------------------- */

TEST_F(IpcSyncTest, GetSendsNoBody) {
    AnsweringPeer wlan("wlan", words({7, 8, 1, 2}));
    EXPECT_EQ(frwk_ipc_msg_get(kWlan, 5001, rsp_.data(), 8, 21, &result_), 0);
    EXPECT_EQ(wlan.request(), words({3, 5001, 0, 21, 8, 0}));
    EXPECT_EQ(rsp_, words({1, 2}));
    EXPECT_EQ(result_, 7);
}

TEST_F(IpcSyncTest, SetWantsNoAnswer) {
    AnsweringPeer wlan("wlan", words({7, 0}));
    EXPECT_EQ(frwk_ipc_msg_set(kWlan, 5001, "hi", 2, 21, &result_), 0);
    EXPECT_EQ(wlan.request(), words({3, 5001, 0, 21, 0, 2}) + text_bytes("hi"));
    EXPECT_EQ(result_, 7);
}

/* ---- Status of a module ---------------------------------------------------------------------------- */

TEST_F(IpcSyncTest, StatusOfTheModuleItselfIsItsWord) {
    frwk_set_module_status(0xABCD);
    EXPECT_EQ(frwk_get_module_status(kSelf), 0xABCDu);
    EXPECT_EQ(libc::socket.calls(), 0u);
}

TEST_F(IpcSyncTest, StatusOfAnotherModuleIsAsked) {
    AnsweringPeer wlan("wlan", words({0, 4, 0xFFFFFFFE}));
    EXPECT_EQ(frwk_get_module_status(kWlan), 0xFFFFFFFEu);
    EXPECT_EQ(wlan.request(), words({3, 6, 0, 3, 4, 0}));
}

TEST_F(IpcSyncTest, StatusIsZeroWhenTheModuleCanNotBeAsked) {
    (void)unlink("/tmp/m_tmp/ipc/wlan");
    EXPECT_EQ(frwk_get_module_status(kWlan), 0u);
    EXPECT_EQ(frwk_get_module_status(0), 0u);
    EXPECT_EQ(frwk_get_module_status(53), 0u);
}

TEST_F(IpcSyncTest, StatusIsZeroWhenTheModuleAnswersWithAnError) {
    for (const uint32_t result : {1u, 2u, 3u, 0xFFFFFFFFu}) {
        const AnsweringPeer wlan("wlan", words({result, 4, 5}));
        EXPECT_EQ(frwk_get_module_status(kWlan), 0u) << result;
    }
}

TEST_F(IpcSyncTest, StatusIsZeroWhenTheAnswerIsCutShort) {
    const AnsweringPeer wlan("wlan", words({0, 4}) + Bytes(3, 1));
    EXPECT_EQ(frwk_get_module_status(kWlan), 0u);
}
