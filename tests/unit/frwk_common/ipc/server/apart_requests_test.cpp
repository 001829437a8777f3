#include "frwk_common/ipc/server/apart_requests.h"

#include <unistd.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include "doubles/base_doubles.h"
#include "frwk_common/ipc/server/ipc_service.h"
#include "frwk_ipc_ext.h"
#include "support/child.h"
#include "support/wait_until.h"
#include "unit/frwk_common/ipc/server/service_fixture.h"
#include "unit/frwk_common/ipc/test_connection.h"
#include "unit/frwk_common/ipc/test_peer.h"

namespace base = doubles::base;

namespace {

constexpr int32_t kApartMessage = 3100;
constexpr size_t kAtOnce = 16;

std::atomic<int> g_entered{0};
std::atomic<bool> g_released{false};

void hold() {
    ++g_entered;
    EXPECT_TRUE(wait_until([] { return g_released.load(); }));
}

/* Holds the message that is handled apart, until it is released. */
apps_err_e_type holding_handler(uint32_t src, apps_message_id_e_type msgid, const void *data,
                                int32_t data_len, void *rsp, uint32_t rsp_size, uint32_t timeout) {
    if (msgid == kApartMessage) {
        hold();
    }
    return TestHandler::handle(src, msgid, data, data_len, rsp, rsp_size, timeout);
}

void hold_and_close(ipc::Connection &, const frwk_ipc_header &) {
    hold();
}

Bytes apart_request(uint32_t async = 0, const Bytes &body = {}) {
    return words({5, static_cast<uint32_t>(kApartMessage), async, 3, 4, static_cast<uint32_t>(body.size())}) +
           body;
}

frwk_ipc_header header_of(int32_t msgid, uint32_t async = 0, int32_t data_len = 0) {
    return {5, msgid, async, 3, 4, data_len};
}

class ApartRequestsTest : public IpcServiceTest {
  protected:
    ApartRequestsTest() {
        g_entered = 0;
        g_released = false;
        EXPECT_EQ(0, frwk_ipc_handle_apart(kApartMessage));
        g_s_ipc_handler = holding_handler;
    }
    ~ApartRequestsTest() override { release(); }

    static void release() {
        g_released = true;
        ipc::wait_for_apart();
    }
    static bool entered(int count) {
        return wait_until([count] { return g_entered == count; });
    }

    /* Has a thread of its own hold an exchange. Returns whether there was one. */
    static bool hold_one(SocketPair &pair) {
        ipc::Connection connection = connection_of(pair);
        const bool is_held = ipc::finish_apart(connection, header_of(kApartMessage), hold_and_close);
        EXPECT_NE(is_held, static_cast<bool>(connection)) << "the connection has one owner";
        return is_held;
    }
};

class ApartRequestsLoop : public ApartRequestsTest {
  protected:
    ApartRequestsLoop() { ipc::start_service(); }
};

}  // namespace

TEST_F(ApartRequestsLoop, OthersAreAnsweredWhileOneIsHandled) {
    const int slow = connect_to("router");
    write_bytes(slow, apart_request());
    ASSERT_TRUE(entered(1));
    EXPECT_EQ(ask_module("router", request(4)), words({0, 4, 0}));
    EXPECT_EQ(TestHandler::calls().size(), 1u);
    release();
    EXPECT_EQ(read_to_end(slow), words({0, 4, 0}));
    EXPECT_EQ(TestHandler::calls().size(), 2u);
    (void)close(slow);
}

TEST_F(ApartRequestsTest, AreSynchronousOnesWithoutABodyOfRegisteredMessages) {
    EXPECT_TRUE(ipc::is_apart(header_of(kApartMessage)));
    EXPECT_TRUE(ipc::is_apart(header_of(kApartMessage, 0, -1)));
    EXPECT_FALSE(ipc::is_apart(header_of(kApartMessage, 1)));
    EXPECT_FALSE(ipc::is_apart(header_of(kApartMessage, 0, 1)));
    EXPECT_FALSE(ipc::is_apart(header_of(kApartMessage + 1)));
    EXPECT_FALSE(ipc::is_apart(header_of(0)));
}

TEST_F(ApartRequestsTest, WithoutAThreadTheServiceHandlesTheRequest) {
    base::os_thread_create.fail(EAGAIN);
    g_released = true;
    SocketPair pair;
    write_bytes(pair.test(), apart_request());
    serve_request(pair);
    base::os_thread_create.restore();
    EXPECT_EQ(read_to_end(pair.test()), words({0, 4, 0}));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_handle",
                            "no thread for message 3100, other requests wait for it"))
        << log_.text();
}

TEST_F(ApartRequestsTest, NoMoreThanSixteenAreHandledAtOnce) {
    std::vector<SocketPair> pairs(kAtOnce + 1);
    for (size_t i = 0; i < kAtOnce; ++i) {
        EXPECT_TRUE(hold_one(pairs[i]));
    }
    EXPECT_FALSE(hold_one(pairs[kAtOnce]));
    release();
    SocketPair after;
    EXPECT_TRUE(hold_one(after));
}

TEST_F(ApartRequestsTest, AreWaitedForAtTheEnd) {
    SocketPair pair;
    ASSERT_TRUE(hold_one(pair));
    ASSERT_TRUE(entered(1));
    std::atomic<bool> is_over{false};
    std::thread waiting([&is_over] {
        ipc::wait_for_apart();
        EXPECT_TRUE(g_released);
        is_over = true;
    });
    EXPECT_FALSE(is_over);
    g_released = true;
    waiting.join();
}

TEST_F(ApartRequestsTest, OfTheParentAreNotWaitedForInAForkedChild) {
    SocketPair pair;
    ASSERT_TRUE(hold_one(pair));
    ASSERT_TRUE(entered(1));
    const ChildEnd end = run_in_child([] {
        alarm(60);
        ipc::wait_for_apart();
        return std::string("ended");
    });
    EXPECT_EQ("ended", end.report);
}

TEST_F(ApartRequestsTest, AreNotSystemMessages) {
    for (int32_t msgid = -1; msgid <= E_APPS_MSG_SYS_MEMORY; ++msgid) {
        EXPECT_EQ(E_APPS_ERR_PARAM, frwk_ipc_handle_apart(msgid)) << msgid;
    }
}

/* The last test, since the messages stay. */
TEST_F(ApartRequestsTest, AreOfEightMessagesAtMost) {
    for (int32_t more = 1; more < 8; ++more) {
        EXPECT_EQ(0, frwk_ipc_handle_apart(kApartMessage + more));
    }
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_ipc_handle_apart(kApartMessage + 8));
    EXPECT_EQ(0, frwk_ipc_handle_apart(kApartMessage + 7));
    EXPECT_FALSE(ipc::is_apart(header_of(kApartMessage + 8)));
}
