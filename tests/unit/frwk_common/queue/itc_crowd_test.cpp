/*
 * A queue with an unusually long backlog is logged.
 */
#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "support/log_checks.h"
#include "unit/frwk_common/queue/itc_fixture.h"

namespace {

std::atomic<uint32_t> g_begun{0};
std::atomic<uint32_t> g_handled{0};
std::atomic<uint32_t> g_allowed{0};

/* Handles as many messages as the test allows, and waits before each further one. */
void counted_handler(uint32_t, const void *, int32_t) {
    ++g_begun;
    while (g_handled >= g_allowed) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    ++g_handled;
}

/* A queue whose thread is held in its first message, so that the others wait. */
class ItcCrowdTest : public ItcTest {
  protected:
    ItcCrowdTest() {
        g_begun = 0;
        g_handled = 0;
        g_allowed = 0;
        EXPECT_EQ(frwk_itc_create(name_.c_str(), nullptr, counted_handler), E_APPS_ERR_SUCCESS);
        send(1);
        handle_all_but(0);
    }
    ~ItcCrowdTest() override {
        g_allowed = UINT32_MAX;
        EXPECT_TRUE(wait_until([this] { return g_handled == sent_; }));
    }

    void send(uint32_t count) {
        sent_ += count;
        while (count-- > 0) {
            EXPECT_EQ(frwk_itc_send(name_.c_str(), 1, nullptr, 0), E_APPS_ERR_SUCCESS);
        }
    }
    /* Lets all be handled but so many that wait, and one in the handler. */
    void handle_all_but(uint32_t waiting) {
        g_allowed = sent_ - waiting - 1;
        EXPECT_TRUE(wait_until([] { return g_begun == g_allowed + 1; }));
    }
    testing::AssertionResult said(uint32_t count) {
        return logged_once(log_, kWarningLevel, "frwk_itc_send",
                           "itc(" + name_ + "): " + std::to_string(count) + " messages wait to be handled");
    }
    size_t lines() { return log_.count("messages wait to be handled"); }

    LogCapture log_;

  private:
    uint32_t sent_ = 0;
};

}  // namespace

TEST_F(ItcCrowdTest, TheThousandthAndTheTenThousandthWaitingMessageSaySo) {
    send(998);
    EXPECT_EQ(lines(), 0u);
    send(3);
    EXPECT_TRUE(said(1000));
    send(11000);
    EXPECT_TRUE(said(10000));
    EXPECT_EQ(lines(), 2u) << log_.text();
}

TEST_F(ItcCrowdTest, ANumberThatGoesUpAndDownSaysSoOnce) {
    send(1200);
    for (int i = 0; i < 10; ++i) {
        handle_all_but(700);
        send(500);
    }
    EXPECT_EQ(lines(), 1u) << log_.text();
}

TEST_F(ItcCrowdTest, AQueueThatWasEmptiedSaysSoAgain) {
    send(1200);
    handle_all_but(0);
    log_.clear();
    send(1200);
    EXPECT_TRUE(said(1000));
}

TEST_F(ItcCrowdTest, AQueueThatKeepsUpSaysNothing) {
    for (int i = 0; i < 100; ++i) {
        send(100);
        handle_all_but(0);
    }
    EXPECT_EQ(lines(), 0u) << log_.text();
}

TEST_F(ItcCrowdTest, AFullQueueRefusesLikeOneThatThereIsNoMemoryFor) {
    g_s_itc_waiting_limit = 700;
    send(700);
    const uint32_t blocks = live_blocks();
    for (int i = 0; i < 3; ++i) {
        log_.clear();
        EXPECT_EQ(frwk_itc_send(name_.c_str(), 77, "data", 4), E_APPS_ERR_MALLOC);
        EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_send",
                                "alloc for itc send failed! msgid:77, data_size:4"));
    }
    EXPECT_EQ(live_blocks(), blocks);
    handle_all_but(600);
    send(100);
    EXPECT_EQ(frwk_itc_send(name_.c_str(), 77, nullptr, 0), E_APPS_ERR_MALLOC);
}

TEST_F(ItcCrowdTest, AQueueWithoutALimitIsNeverFull) {
    g_s_itc_waiting_limit = 0;
    send(3000);
    EXPECT_TRUE(said(1000));
}

TEST_F(ItcCrowdTest, TheLimitIsFarAboveWhatHonestModulesNeed) {
    send(100000);
    EXPECT_TRUE(said(100000));
}

TEST_F(ItcCrowdTest, MessagesThatTheThreadHasTakenButNotHandledWait) {
    send(600);
    handle_all_but(599);
    send(401);
    EXPECT_TRUE(said(1000));
}
