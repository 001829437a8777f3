/*
 * Sending: what goes over the socket, every result and its text, messages to itself, broadcasts.
 */
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "frwk_common/ipc_dispatch.h"
#include "unit/frwk_common/files.h"
#include "unit/frwk_common/io_faults.h"
#include "unit/frwk_common/log_checks.h"
#include "unit/frwk_common/module_test.h"
#include "unit/frwk_common/test_handler.h"
#include "unit/frwk_common/test_peer.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr uint32_t kSelf = E_APPS_MODULE_ROUTER;
constexpr uint32_t kWlan = E_APPS_MODULE_WLAN;
constexpr int32_t kUntouched = 0x55AA;

os_mem_usage_t memory() {
    os_mem_usage_t usage;
    os_mem_usage(&usage);
    return usage;
}

void refuse_blocks() {
    base::os_mem_malloc.stand_in([](size_t) -> void * { return nullptr; });
}

/* Lets every thread be asked for and none start. */
void refuse_threads() {
    base::os_thread_create.stand_in(
        [](os_thread_t *, const os_thread_attr *, os_thread_entry, void *) { return EAGAIN; });
}

void writes_break_off() {
    io_faults::on_write(
        [first = true](const io_faults::Output &real, int fd, const void *buf, size_t) mutable -> ssize_t {
            if (!first) {
                errno = EPIPE;
                return -1;
            }
            first = false;
            return real(fd, buf, 10);
        });
}

/* The process is module 3, router. */
class IpcRequestTest : public ModuleTest {
  protected:
    IpcRequestTest() {
        make_ipc_folder();
        TestHandler::reset();
        live_blocks_ = memory().live_blocks;
    }
    ~IpcRequestTest() override { EXPECT_EQ(memory().live_blocks, live_blocks_); }

    /* A synchronous request to wlan without a body, with a small answer buffer. */
    apps_err_e_type ask() {
        return frwk_ipc_send_sync(kWlan, 5001, nullptr, 0, rsp_.data(), static_cast<uint32_t>(rsp_.size()), 3,
                                  &result_);
    }
    /* A synchronous request to wlan with a body. */
    apps_err_e_type ask_with(const Bytes &body) {
        return frwk_ipc_send_sync(kWlan, 5001, body.data(), static_cast<uint32_t>(body.size()), nullptr, 0, 3,
                                  &result_);
    }
    static apps_err_e_type tell(uint32_t module, const Bytes &body, uint32_t timeout = 3) {
        return frwk_ipc_send_async(module, 5001, body.data(), static_cast<uint32_t>(body.size()), timeout);
    }

    LogCapture log_;
    Bytes rsp_ = Bytes(8);
    int32_t result_ = kUntouched;

  private:
    uint32_t live_blocks_ = 0;
};

class IpcSyncTest : public IpcRequestTest {};
class IpcAsyncTest : public IpcRequestTest {};

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

TEST_F(IpcSyncTest, RefusesAnAnswerThatDoesNotFit) {
    const AnsweringPeer wlan("wlan", words({0, 9, 1, 2, 3}));
    EXPECT_EQ(ask(), 9);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc recv rsp buffer not big enough!"));
    EXPECT_EQ(rsp_, Bytes(8));
    EXPECT_EQ(result_, kUntouched);
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

TEST_F(IpcSyncTest, WaitsForTheAnswerWithoutALimit) {
    const AnsweringPeer wlan("wlan", words({0, 0}));
    EXPECT_EQ(frwk_ipc_send_sync(kWlan, 5001, nullptr, 0, nullptr, 0, 1, nullptr), 0);
    EXPECT_EQ(libc::poll.calls(), 0u);
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

/* ---- Asynchronous messages ------------------------------------------------------------------------- */

TEST_F(IpcAsyncTest, WritesTheHeaderAndTheBodyAndReportsDelivery) {
    const TestListener wlan("wlan");
    EXPECT_EQ(tell(kWlan, text_bytes("hello"), 55), 15);
    EXPECT_EQ(wlan.take_message(), words({3, 5001, 1, 55, 0, 5}) + text_bytes("hello"));
}

TEST_F(IpcAsyncTest, NeedsNoBody) {
    const TestListener wlan("wlan");
    EXPECT_EQ(frwk_ipc_send_async(kWlan, 5001, nullptr, 0, 3), 15);
    EXPECT_EQ(wlan.take_message(), words({3, 5001, 1, 3, 0, 0}));
}

TEST_F(IpcAsyncTest, ReadsNoAnswer) {
    const TestListener wlan("wlan");
    EXPECT_EQ(tell(kWlan, {}), 15);
    EXPECT_EQ(io_faults::reads(), 0u);
}

TEST_F(IpcAsyncTest, IsTracedWithASingleArrow) {
    const TestListener wlan("wlan");
    tell(kWlan, {});
    EXPECT_TRUE(logged_once(log_, kDebugLevel,
                            "#### [ROUTER]-->[WLAN]::[E_APPS_MSG_WLAN_SET_FEATURE_PARAMS:5001] ####"));
}

TEST_F(IpcAsyncTest, RefusesAModuleThatIsNone) {
    for (const uint32_t module : {0u, 53u, UINT32_MAX}) {
        log_.clear();
        EXPECT_EQ(frwk_ipc_send_async(module, 5001, nullptr, 1, 3), 1) << module;
        EXPECT_TRUE(logged_once(log_, kWarningLevel,
                                "invalid module id=" + std::to_string(static_cast<int32_t>(module))));
    }
    EXPECT_EQ(libc::socket.calls(), 0u);
}

TEST_F(IpcAsyncTest, RefusesALengthWithoutABuffer) {
    EXPECT_EQ(frwk_ipc_send_async(kWlan, 5001, nullptr, 1, 3), 3);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "invalid request arguments!"));
    EXPECT_FALSE(log_.contains("####"));
    EXPECT_EQ(frwk_ipc_send_async(kSelf, 3001, nullptr, 1, 3), 3);
    EXPECT_EQ(base::os_thread_create.calls(), 0u);
}

TEST_F(IpcAsyncTest, FailsWhenTheModuleDoesNotRun) {
    (void)unlink("/tmp/m_tmp/ipc/wlan");
    EXPECT_EQ(tell(kWlan, {}), 1);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc connect to module [wlan] failed!"));
}

TEST_F(IpcAsyncTest, MessageOf1000BytesNeedsNoHeap) {
    const TestListener wlan("wlan");
    EXPECT_EQ(tell(kWlan, pattern(1000)), 15);
    EXPECT_EQ(base::os_mem_malloc.calls(), 0u);
    EXPECT_EQ(slice(wlan.take_message(), 24, 2000), pattern(1000));
}

TEST_F(IpcAsyncTest, MessageOf1001BytesTakesOneBlock) {
    const TestListener wlan("wlan");
    EXPECT_EQ(tell(kWlan, pattern(1001)), 15);
    EXPECT_EQ(base::os_mem_malloc.calls(), 1u);
    EXPECT_EQ(slice(wlan.take_message(), 24, 2000), pattern(1001));
}

TEST_F(IpcAsyncTest, ReportsThatThereIsNoMemory) {
    const TestListener wlan("wlan");
    refuse_blocks();
    EXPECT_EQ(tell(kWlan, pattern(1001)), 5);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc failed for ipc req!"));
    EXPECT_EQ(wlan.take_message(), Bytes());
}

TEST_F(IpcAsyncTest, TakesALengthThatWrapsForNoMemory) {
    const TestListener wlan("wlan");
    const char body = 'x';
    for (const uint32_t length : {UINT32_MAX, UINT32_MAX - 22, 0x80000000u}) {
        log_.clear();
        EXPECT_EQ(frwk_ipc_send_async(kWlan, 5001, &body, length, 3), 5) << length;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc failed for ipc req!"));
    }
}

TEST_F(IpcAsyncTest, ReportsAShortWrite) {
    const TestListener wlan("wlan");
    writes_break_off();
    EXPECT_EQ(tell(kWlan, pattern(100)), 18);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "ipc send req msg failed!"));
}

TEST_F(IpcAsyncTest, NotifyHasALimitOfThreeSeconds) {
    const TestListener wlan("wlan");
    EXPECT_EQ(frwk_ipc_msg_notify(kWlan, 5001, "hi", 2), 15);
    EXPECT_EQ(wlan.take_message(), words({3, 5001, 1, 3, 0, 2}) + text_bytes("hi"));
}

TEST_F(IpcAsyncTest, NotifyNeedsNoData) {
    const TestListener wlan("wlan");
    EXPECT_EQ(frwk_ipc_msg_notify(kWlan, 5001, nullptr, 0), 15);
    EXPECT_EQ(wlan.take_message(), words({3, 5001, 1, 3, 0, 0}));
}

/* ---- Asynchronous messages to itself --------------------------------------------------------------- */

namespace {

/* Keeps the thread that is to be started, so that the test runs it itself. */
class IpcOwnMessageTest : public IpcRequestTest {
  protected:
    IpcOwnMessageTest() {
        g_s_ipc_handler = TestHandler::handle;
        base::os_thread_create.stand_in(
            [this](os_thread_t *thread, const os_thread_attr *attr, os_thread_entry entry, void *argument) {
                default_attributes_ = attr == nullptr || (attr->detached == 1 && attr->stack_size == 0);
                entry_ = entry;
                argument_ = argument;
                *thread = 1;
                return 0;
            });
    }

    bool default_attributes_ = false;
    os_thread_entry entry_ = nullptr;
    void *argument_ = nullptr;
};

}  // namespace

TEST_F(IpcOwnMessageTest, IsHandledOnAThreadOfItsOwn) {
    EXPECT_EQ(tell(kSelf, text_bytes("hello"), 33), 15);
    EXPECT_EQ(TestHandler::calls().size(), 0u);
    EXPECT_EQ(entry_, frwk_ipc_msg_async_handle);
    EXPECT_TRUE(default_attributes_);

    entry_(argument_);
    const auto calls = TestHandler::calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].src, kSelf);
    EXPECT_EQ(calls[0].msgid, 5001);
    EXPECT_EQ(calls[0].data, text_bytes("hello"));
    EXPECT_FALSE(calls[0].has_rsp);
    EXPECT_EQ(calls[0].timeout, 33u);
    EXPECT_EQ(libc::socket.calls(), 0u);
}

TEST_F(IpcOwnMessageTest, TravelsInARecordLaidOutLikeARequest) {
    EXPECT_EQ(tell(kSelf, text_bytes("hello"), 33), 15);
    const auto *bytes = static_cast<const unsigned char *>(argument_);
    EXPECT_EQ(Bytes(bytes, bytes + 29), words({3, 5001, 1, 33, 0, 5}) + text_bytes("hello"));
    os_mem_free(argument_);
}

TEST_F(IpcOwnMessageTest, CopiesItsBody) {
    char body[] = "hello";
    EXPECT_EQ(frwk_ipc_send_async(kSelf, 3001, body, 5, 3), 15);
    body[0] = 'J';
    entry_(argument_);
    EXPECT_EQ(TestHandler::calls().at(0).data, text_bytes("hello"));
}

TEST_F(IpcOwnMessageTest, IsTraced) {
    EXPECT_EQ(frwk_ipc_send_async(kSelf, 3001, nullptr, 0, 3), 15);
    EXPECT_TRUE(logged_once(log_, kDebugLevel,
                            "#### [ROUTER]-->[ROUTER]::[E_APPS_MSG_ROUTER_DHCP_CFG_SET:3001] ####"));
    os_mem_free(argument_);
}

TEST_F(IpcOwnMessageTest, ReportsThatThereIsNoMemory) {
    refuse_blocks();
    EXPECT_EQ(tell(kSelf, {}), 5);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc for async msg failed!"));
    EXPECT_EQ(base::os_thread_create.calls(), 0u);
}

TEST_F(IpcOwnMessageTest, TakesALengthThatWrapsForNoMemory) {
    const char body = 'x';
    for (const uint32_t length : {UINT32_MAX, UINT32_MAX - 22, 0x80000000u}) {
        log_.clear();
        EXPECT_EQ(frwk_ipc_send_async(kSelf, 3001, &body, length, 3), 5) << length;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, "alloc for async msg failed!"));
    }
}

TEST_F(IpcOwnMessageTest, ReportsAThreadThatCanNotBeStartedAndFreesTheRecord) {
    refuse_threads();
    const uint32_t before = memory().live_blocks;
    EXPECT_EQ(tell(kSelf, pattern(5000)), 14);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "create async msg handle thread error!"));
    EXPECT_EQ(memory().live_blocks, before);
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcOwnMessageTest, ReachesTheHandlerOnARealThread) {
    base::os_thread_create.restore();
    TestHandler::reset(1);
    const uint32_t before = memory().live_blocks;
    EXPECT_EQ(frwk_ipc_send_async(kSelf, 3001, "hello", 5, 3), 15);
    EXPECT_TRUE(log_.wait_for("async call msg handler failed!"));
    EXPECT_EQ(TestHandler::calls().at(0).data, text_bytes("hello"));
    while (memory().live_blocks != before) {  // the thread frees the record last
        std::this_thread::yield();
    }
}

/* ---- Broadcasts ------------------------------------------------------------------------------------ */

namespace {

/* Which modules' sockets were connected to, in order; each connection fails. */
class IpcBroadcastTest : public IpcRequestTest {
  protected:
    IpcBroadcastTest() {
        libc::connect.stand_in([this](int, const sockaddr *address, socklen_t) {
            tried_.emplace_back(reinterpret_cast<const sockaddr_un *>(address)->sun_path);
            errno = ECONNREFUSED;
            return -1;
        });
    }

    /* The sockets of the modules whose built-in row is monitored, in the order of their ids. */
    static std::vector<std::string> monitored_but(int32_t self) {
        static constexpr int32_t kMonitored[] = {2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14,
                                                 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27,
                                                 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 39};
        std::vector<std::string> sockets;
        for (const int32_t id : kMonitored) {
            if (id != self) {
                sockets.push_back(socket_path(frwk_module_name(id)));
            }
        }
        return sockets;
    }

    std::vector<std::string> tried_;
};

}  // namespace

TEST_F(IpcBroadcastTest, TriesEveryMonitoredModuleButTheCallerInOrder) {
    become(E_APPS_MODULE_WLAN);
    frwk_ipc_msg_broadcast(9, nullptr, 0);
    EXPECT_EQ(tried_, monitored_but(5));
    EXPECT_EQ(tried_.size(), 36u);
}

TEST_F(IpcBroadcastTest, OfAToolTriesAllOfThem) {
    become(E_APPS_MODULE_TOOL);
    frwk_ipc_msg_broadcast(9, nullptr, 0);
    EXPECT_EQ(tried_, monitored_but(-1));
}

TEST_F(IpcBroadcastTest, FollowsTheFlagsOfTheTable) {
    for (frwk_module_info &row : g_modules_info) {
        row.flag = ~FRWK_FLAG_MONITORED;
    }
    frwk_module_monitor(52);
    frwk_module_monitor(1);
    frwk_module_monitor(0);
    frwk_module_monitor(53);
    frwk_ipc_msg_broadcast(9, nullptr, 0);
    EXPECT_EQ(tried_, (std::vector<std::string>{socket_path("monitor"), socket_path("logtool")}));
}

TEST_F(IpcBroadcastTest, ReachesThoseThatListenAndPassesTheOthersOver) {
    libc::connect.restore();
    const TestListener zndb("zndb");
    const TestListener wlan("wlan");
    const TestListener third("start_third_app");
    const TestListener unmonitored("monitor");
    const TestListener self("router");
    frwk_ipc_msg_broadcast(9, "hi", 2);

    const Bytes message = words({3, 9, 1, 3, 0, 2}) + text_bytes("hi");
    EXPECT_EQ(zndb.take_message(), message);
    EXPECT_EQ(wlan.take_message(), message);
    EXPECT_EQ(third.take_message(), message);
    EXPECT_FALSE(unmonitored.has_connection());
    EXPECT_FALSE(self.has_connection());
}

TEST_F(IpcBroadcastTest, GoesOnAfterEveryFailure) {
    libc::connect.restore();
    const TestListener third("start_third_app");
    refuse_blocks();
    const Bytes large = pattern(2000);
    frwk_ipc_msg_broadcast(9, large.data(), 2000);
    EXPECT_EQ(third.take_message(), Bytes());
    EXPECT_EQ(log_.count("ipc connect to module ["), 35u);
    EXPECT_EQ(log_.count("alloc failed for ipc req!"), 1u);
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
