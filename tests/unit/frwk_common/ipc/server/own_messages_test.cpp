/*
 * The number of messages of the module to itself that are handled concurrently.
 */
#include "frwk_common/ipc/server/own_messages.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "unit/frwk_common/ipc/client/request_fixture.h"

namespace {

std::atomic<bool> g_released{false};

apps_err_e_type held_handler(uint32_t, apps_message_id_e_type, const void *, int32_t, void *, uint32_t,
                             uint32_t) {
    while (!g_released) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return 0;
}

std::string line(int threads) {
    return std::to_string(threads) +
           " messages of this module to itself are handled at once, each on a separate thread";
}

class OwnMessagesTest : public IpcRequestTest {
  protected:
    static void begin(int count) {
        while (count-- > 0) {
            EXPECT_TRUE(ipc::own_message_begins());
        }
    }
    static void end(int count) {
        while (count-- > 0) {
            ipc::own_message_ends();
        }
    }
    size_t lines() { return log_.count("handled at once"); }
};

}  // namespace

TEST_F(OwnMessagesTest, TheHundredthAndTheThousandthThreadSaySo) {
    begin(99);
    EXPECT_EQ(lines(), 0u);
    begin(1);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_send_async", line(100)));
    begin(1100);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_send_async", line(1000)));
    EXPECT_EQ(lines(), 2u);
    end(1200);
}

TEST_F(OwnMessagesTest, ANumberThatGoesUpAndDownSaysSoOnce) {
    begin(100);
    for (int i = 0; i < 20; ++i) {
        end(50);
        begin(50);
    }
    EXPECT_EQ(lines(), 1u);
    end(51);
    begin(51);
    EXPECT_EQ(lines(), 2u);
    end(100);
}

TEST_F(OwnMessagesTest, AThreadThatCanNotBeStartedDoesNotCount) {
    refuse_threads();
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(tell(kSelf, {}), 14);
    }
    EXPECT_EQ(lines(), 0u);
}

TEST_F(OwnMessagesTest, OneMoreThanTheLimitIsRefusedLikeAThreadThatCanNotBeStarted) {
    g_s_own_messages_limit = 150;
    begin(150);
    const uint32_t before = live_blocks();
    for (int i = 0; i < 3; ++i) {
        log_.clear();
        EXPECT_EQ(tell(kSelf, pattern(2000)), 14);
        EXPECT_TRUE(
            logged_once(log_, kWarningLevel, "frwk_ipc_send_async", "create async msg handle thread error!"));
    }
    EXPECT_EQ(live_blocks(), before);
    EXPECT_EQ(doubles::base::os_thread_create.calls(), 0u);
    end(1);
    begin(1);
    end(150);
}

TEST_F(OwnMessagesTest, WithoutALimitNoneIsRefused) {
    g_s_own_messages_limit = 0;
    begin(10000);
    end(10000);
}

TEST_F(OwnMessagesTest, TheBuiltInLimitIs4096) {
    begin(4096);
    EXPECT_FALSE(ipc::own_message_begins());
    end(4096);
}

TEST_F(OwnMessagesTest, RealThreadsCountWhileTheyRun) {
    const uint32_t before = live_blocks();
    g_s_ipc_handler = held_handler;
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(tell(kSelf, {}), 15) << i;
        EXPECT_EQ(lines(), i < 99 ? 0u : 1u);
    }
    g_released = true;
    while (live_blocks() != before) { /* each thread frees its message when it is handled */
        std::this_thread::yield();
    }
}
