/*
 * Queues with many threads at them: every message once, in order for each sender, and creations, sends and
 * failures at the same time.
 */
#include <atomic>
#include <cerrno>
#include <condition_variable>

#include "support/threads.h"
#include "unit/frwk_common/queue/itc_fixture.h"

namespace base = doubles::base;

namespace {

constexpr uint32_t kSenders = 8;
constexpr uint32_t kMessages = 10000;
constexpr int kQueues = 20;

/* The messages that a handler received from each sender. The message identifies the sender, its data is the
 * number. */
struct Tally {
    std::atomic<uint32_t> next[kSenders] = {}; /* the number that has to come next */
    std::atomic<uint32_t> total{0};
    std::atomic<uint32_t> out_of_order{0};
    std::atomic<int> inside{0};
    std::atomic<int> most_inside{0};
};
Tally g_tally;

void count_message(uint32_t sender, const void *data, int32_t size) {
    const int inside = ++g_tally.inside;
    if (inside > g_tally.most_inside) {
        g_tally.most_inside = inside;
    }
    uint32_t number = UINT32_MAX;
    if (size == static_cast<int32_t>(sizeof(number))) {
        std::memcpy(&number, data, sizeof(number));
    }
    if (number != g_tally.next[sender]++) {
        ++g_tally.out_of_order;
    }
    --g_tally.inside;
    ++g_tally.total;
}

std::atomic<uint32_t> g_delivered{0};

void count_delivery(uint32_t, const void *, int32_t) {
    ++g_delivered;
}

/* A door between two handlers. */
std::mutex g_door;
std::condition_variable g_door_moved;
bool g_door_open = false;

void open_door(uint32_t, const void *, int32_t) {
    const std::lock_guard<std::mutex> lock(g_door);
    g_door_open = true;
    g_door_moved.notify_all();
}

void pass_door(uint32_t msgid, const void *data, int32_t size) {
    std::unique_lock<std::mutex> lock(g_door);
    if (g_door_moved.wait_for(lock, kPatience, [] { return g_door_open; })) {
        ItcRecorder::handle(msgid, data, size);
    }
}

class ItcThreadsTest : public ItcTest {
  protected:
    /* Senders that are ahead of the creator would fill the log. */
    ItcThreadsTest() {
        base::os_trace_print.stand_in([](int, const char *, const char *, int, const char *) {});
    }

    std::string queue(int number) const { return name_ + std::to_string(number); }

    /* Every second thread fails to start. */
    void refuse_some_threads() {
        base::os_thread_create.stand_in([this](os_thread_t *thread, const os_thread_attr *attr,
                                               os_thread_entry entry, void *argument) {
            return asked_++ % 2 == 0 ? EAGAIN : base::os_thread_create.real(thread, attr, entry, argument);
        });
    }

    /* Sends to every queue in turn until it is stopped. Returns the number of accepted messages. */
    uint32_t send_everywhere(const std::atomic<bool> &stop) {
        uint32_t taken = 0;
        ++sending_;
        while (!stop) {
            for (int i = 0; i < kQueues; ++i) {
                taken += send_text(queue(i), 1, "x") == 0 ? 1u : 0u;
            }
        }
        return taken;
    }

    void wait_for_senders(uint32_t count) const {
        EXPECT_TRUE(wait_until([this, count] { return sending_ == count; }));
    }

    std::atomic<uint32_t> asked_{0};
    std::atomic<uint32_t> sending_{0};
};

}  // namespace

TEST_F(ItcThreadsTest, TenThousandMessagesFromEachOfEightThreadsArriveOnceAndInOrder) {
    ASSERT_EQ(0, frwk_itc_create(name_.c_str(), nullptr, count_message));
    const uint32_t blocks = live_blocks();
    run_in_threads(kSenders, [this](size_t number) {
        const auto sender = static_cast<uint32_t>(number);
        for (uint32_t i = 0; i < kMessages; ++i) {
            ASSERT_EQ(0, frwk_itc_send(name_.c_str(), sender, &i, sizeof(i)));
        }
    });
    EXPECT_TRUE(wait_until([] { return g_tally.total == kSenders * kMessages; }));
    EXPECT_EQ(0u, g_tally.out_of_order);
    EXPECT_EQ(1, g_tally.most_inside);
    EXPECT_TRUE(wait_until([blocks] { return live_blocks() == blocks; }));
    for (const auto &next : g_tally.next) {
        EXPECT_EQ(kMessages, next);
    }
}

TEST_F(ItcThreadsTest, HandlersOfTwoQueuesRunAtOnce) {
    ASSERT_EQ(0, frwk_itc_create("waits", nullptr, pass_door));
    ASSERT_EQ(0, frwk_itc_create("lets pass", nullptr, open_door));
    ASSERT_EQ(0, send_text("waits", 1, ""));
    ASSERT_EQ(0, send_text("lets pass", 1, ""));
    EXPECT_EQ(1u, ItcRecorder::wait_for(1).size());
}

TEST_F(ItcThreadsTest, OfManyCreatorsOfANameOneSucceeds) {
    std::atomic<uint32_t> created{0};
    std::atomic<uint32_t> busy{0};
    run_in_threads(kSenders, [&](size_t) {
        for (int i = 0; i < kQueues; ++i) {
            const apps_err_e_type ret = frwk_itc_create(queue(i).c_str(), nullptr, count_delivery);
            created += ret == E_APPS_ERR_SUCCESS ? 1u : 0u;
            busy += ret == E_APPS_ERR_BUSY ? 1u : 0u;
        }
    });
    EXPECT_EQ(static_cast<uint32_t>(kQueues), created);
    EXPECT_EQ((kSenders - 1) * static_cast<uint32_t>(kQueues), busy);
    EXPECT_EQ(static_cast<unsigned>(kQueues), base::os_thread_create.calls());
}

TEST_F(ItcThreadsTest, WhatIsTakenWhileQueuesAreCreatedArrives) {
    g_delivered = 0;
    std::atomic<bool> created{false};
    std::atomic<uint32_t> taken{0};
    run_in_threads(5, [&](size_t thread) {
        if (thread != 0) {
            taken += send_everywhere(created);
            return;
        }
        wait_for_senders(4);
        for (int i = 0; i < kQueues; ++i) {
            EXPECT_EQ(0, frwk_itc_create(queue(i).c_str(), nullptr, count_delivery));
        }
        created = true;
    });
    EXPECT_TRUE(wait_until([&taken] { return g_delivered == taken; }));
}

TEST_F(ItcThreadsTest, QueuesThatGetNoThreadVanishUnderTheirSenders) {
    const uint32_t blocks = live_blocks();
    std::atomic<bool> created{false};
    refuse_some_threads();
    run_in_threads(5, [&](size_t thread) {
        if (thread != 0) {
            (void)send_everywhere(created);
            return;
        }
        wait_for_senders(4);
        for (int i = 0; i < kQueues; ++i) {
            EXPECT_EQ(E_APPS_ERR_THREAD, frwk_itc_create(queue(i).c_str(), nullptr, count_delivery));
            EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_itc_create(queue(i).c_str(), nullptr, count_delivery));
        }
        created = true;
    });
    EXPECT_TRUE(wait_until([blocks] { return live_blocks() == blocks + kQueues; }));
}
