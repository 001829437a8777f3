/*
 * Asynchronous messages: what goes over the socket, every result and its text, messages to itself, and
 * broadcasts.
 */
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "frwk_common/ipc/server/ipc_dispatch.h"
#include "unit/frwk_common/ipc/client/request_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

class IpcAsyncTest : public IpcRequestTest {};

}  // namespace

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

TEST_F(IpcAsyncTest, MessageOfFourMebibytesArrivesWhole) {
    const TestListener wlan("wlan");
    Bytes message;
    std::thread receiver([&] { message = wlan.take_message(); });
    EXPECT_EQ(tell(kWlan, pattern(size_t{4} << 20)), 15);
    receiver.join();
    EXPECT_EQ(slice(message, 24, size_t{5} << 20), pattern(size_t{4} << 20));
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
    EXPECT_EQ(entry_, ipc::dispatch_own_message);
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
    const uint32_t before = live_blocks();
    EXPECT_EQ(tell(kSelf, pattern(5000)), 14);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "create async msg handle thread error!"));
    EXPECT_EQ(live_blocks(), before);
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

TEST_F(IpcOwnMessageTest, ReachesTheHandlerOnARealThread) {
    base::os_thread_create.restore();
    TestHandler::reset(1);
    const uint32_t before = live_blocks();
    EXPECT_EQ(frwk_ipc_send_async(kSelf, 3001, "hello", 5, 3), 15);
    EXPECT_TRUE(log_.wait_for("async call msg handler failed!"));
    EXPECT_EQ(TestHandler::calls().at(0).data, text_bytes("hello"));
    while (live_blocks() != before) {  // the thread frees the record last
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
