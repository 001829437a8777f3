/*
 * Queues between threads: creation, delivery, and every failure with its log line.
 */
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "doubles/dirty_memory.h"
#include "frwk_common/queue/itc_queue.h"
#include "support/child.h"
#include "support/log_checks.h"
#include "unit/frwk_common/queue/itc_fixture.h"

namespace base = doubles::base;

namespace {

constexpr apps_err_e_type kParam = 3;
constexpr apps_err_e_type kMalloc = 5;
constexpr apps_err_e_type kOutOfBuf = 9;
constexpr apps_err_e_type kThread = 14;
constexpr apps_err_e_type kNotExist = 16;
constexpr apps_err_e_type kBusy = 17;

class ItcQueueTest : public ItcTest {
  protected:
    /* Threads that are asked for stay away until start_thread. */
    void hold_threads() {
        base::os_thread_create.stand_in(
            [this](os_thread_t *, const os_thread_attr *, os_thread_entry entry, void *argument) {
                entry_ = entry;
                argument_ = argument;
                return 0;
            });
    }
    void start_thread() {
        os_thread_t thread = 0;
        ASSERT_EQ(0, base::os_thread_create.real(&thread, nullptr, entry_, argument_));
    }

    /* The thread can't be started; messages are sent before the queue notices. */
    void refuse_threads(os_thread_t handle, size_t messages) {
        base::os_thread_create.stand_in(
            [this, handle, messages](os_thread_t *thread, const os_thread_attr *, os_thread_entry, void *) {
                for (size_t i = 0; i < messages; ++i) {
                    EXPECT_EQ(0, send_text(name_, 1, "lost"));
                }
                *thread = handle;
                return EAGAIN;
            });
    }

    static void refuse_blocks() {
        base::os_mem_malloc.stand_in([](size_t) { return nullptr; });
    }

    /* A failed creation leaves neither a block nor a name. */
    void expect_nothing_left(uint32_t blocks_before) {
        EXPECT_EQ(blocks_before, live_blocks());
        EXPECT_EQ(kNotExist, send_text(name_, 1, "x"));
        doubles::restore_all();
        EXPECT_EQ(0, create());
        EXPECT_EQ(0, send_text(name_, 2, "new"));
        EXPECT_EQ((std::vector<ItcMessage>{{2, "new", 3}}), ItcRecorder::wait_for(1));
    }

    LogCapture log_;

  private:
    os_thread_entry entry_ = nullptr;
    void *argument_ = nullptr;
};

const char *g_own_queue = nullptr;

/* Sends to its own queue, and shows that the message waits until it has returned. */
void send_to_self(uint32_t msgid, const void *, int32_t) {
    ItcRecorder::handle(msgid, "begin", 5);
    if (msgid < 3) {
        EXPECT_EQ(0, frwk_itc_send(g_own_queue, msgid + 1, nullptr, 0));
    }
    ItcRecorder::handle(msgid, "end", 3);
}

/* Creates another queue and sends it what it got. */
void pass_to_new_queue(uint32_t msgid, const void *data, int32_t size) {
    EXPECT_EQ(0, frwk_itc_create("made by a handler", nullptr, ItcRecorder::handle));
    EXPECT_EQ(0, frwk_itc_send("made by a handler", msgid, data, size));
}

void end_process(uint32_t msgid, const void *, int32_t) {
    std::exit(static_cast<int>(msgid));
}

}  // namespace

/* ---- Creation -------------------------------------------------------------------------------------- */

TEST_F(ItcQueueTest, StartsTheThreadWithTheCallersAttributes) {
    const os_thread_attr attr = {1, 256 * 1024};
    const os_thread_attr *asked = nullptr;
    os_thread_entry entry = nullptr;
    base::os_thread_create.stand_in(
        [&](os_thread_t *, const os_thread_attr *wanted, os_thread_entry main, void *) {
            asked = wanted;
            entry = main;
            return 0;
        });
    EXPECT_EQ(0, frwk_itc_create(name_.c_str(), &attr, ItcRecorder::handle));
    EXPECT_EQ(&attr, asked);
    EXPECT_EQ(&queue::run, entry);
}

TEST_F(ItcQueueTest, RunsOnAThreadWithItsOwnStackSize) {
    const os_thread_attr attr = {1, 256 * 1024};
    EXPECT_EQ(0, frwk_itc_create(name_.c_str(), &attr, ItcRecorder::handle));
    EXPECT_EQ(0, send_text(name_, 1, "hello"));
    EXPECT_EQ((std::vector<ItcMessage>{{1, "hello", 5}}), ItcRecorder::wait_for(1));
}

TEST_F(ItcQueueTest, RefusesANullNameOrHandler) {
    EXPECT_EQ(kParam, frwk_itc_create(nullptr, nullptr, ItcRecorder::handle));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_create", "invalid itc parameter!"));
    log_.clear();
    EXPECT_EQ(kParam, frwk_itc_create(name_.c_str(), nullptr, nullptr));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_create", "invalid itc parameter!"));
    EXPECT_EQ(0u, base::os_thread_create.calls());
}

TEST_F(ItcQueueTest, AcceptsANameOf63Characters) {
    const std::string name(63, 'n');
    EXPECT_EQ(0, frwk_itc_create(name.c_str(), nullptr, ItcRecorder::handle));
    EXPECT_EQ(0, send_text(name, 1, "hello"));
    EXPECT_EQ(1u, ItcRecorder::wait_for(1).size());
    EXPECT_EQ(kNotExist, send_text(name.substr(1), 1, "hello"));
}

TEST_F(ItcQueueTest, RefusesANameOf64Characters) {
    const std::string name(64, 'm');
    EXPECT_EQ(kOutOfBuf, frwk_itc_create(name.c_str(), nullptr, ItcRecorder::handle));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_create", "itc name(" + name + ") is too long!"));
    EXPECT_EQ(kNotExist, send_text(name, 1, "x"));
    EXPECT_EQ(kNotExist, send_text(name.substr(1), 1, "x"));
}

TEST_F(ItcQueueTest, RefusesANameThatDiffersInLetterCaseOnly) {
    EXPECT_EQ(0, frwk_itc_create("Jobs of Today", nullptr, ItcRecorder::handle));
    EXPECT_EQ(kBusy, frwk_itc_create("JOBS OF today", nullptr, ItcRecorder::handle));
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "frwk_itc_create", "repeat create itc object(JOBS OF today)!"));
    EXPECT_EQ(1u, base::os_thread_create.calls());
}

TEST_F(ItcQueueTest, LeavesNothingWithoutMemory) {
    const uint32_t blocks = live_blocks();
    refuse_blocks();
    EXPECT_EQ(kMalloc, create());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_create", "alloc itc object failed!"));
    expect_nothing_left(blocks);
}

TEST_F(ItcQueueTest, LeavesNothingWithoutAMutex) {
    const uint32_t blocks = live_blocks();
    base::os_mutex_create.stand_in([] { return nullptr; });
    EXPECT_EQ(kMalloc, create());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_create", "alloc itc object failed!"));
    EXPECT_EQ(0u, base::os_thread_create.calls());
    expect_nothing_left(blocks);
}

TEST_F(ItcQueueTest, LeavesNothingWithoutASemaphore) {
    const uint32_t blocks = live_blocks();
    base::os_sem_create.stand_in([](uint32_t) { return nullptr; });
    EXPECT_EQ(kMalloc, create());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_create", "alloc itc object failed!"));
    EXPECT_EQ(0u, base::os_thread_create.calls());
    expect_nothing_left(blocks);
}

TEST_F(ItcQueueTest, LeavesNothingWithoutAThread) {
    const uint32_t blocks = live_blocks();
    refuse_threads(0, 0);
    EXPECT_EQ(kThread, create());
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "frwk_itc_create", "create itc(" + name_ + ") thread failed!"));
    EXPECT_EQ(0u, base::os_thread_cancel.calls());
    expect_nothing_left(blocks);
}

TEST_F(ItcQueueTest, DropsWhatWasSentToAQueueThatGetsNoThread) {
    const uint32_t blocks = live_blocks();
    refuse_threads(0, 3);
    EXPECT_EQ(kThread, create());
    expect_nothing_left(blocks);
}

TEST_F(ItcQueueTest, CancelsAThreadThatFailedWithAHandle) {
    const uint32_t blocks = live_blocks();
    os_thread_t cancelled = 0;
    base::os_thread_cancel.stand_in([&cancelled](os_thread_t thread) {
        cancelled = thread;
        return 0;
    });
    refuse_threads(77, 1);
    EXPECT_EQ(kThread, create());
    EXPECT_EQ(77u, cancelled);
    expect_nothing_left(blocks);
}

/* ---- Delivery -------------------------------------------------------------------------------------- */

TEST_F(ItcQueueTest, DeliversInTheOrderSent) {
    ASSERT_EQ(0, create());
    std::vector<ItcMessage> sent;
    for (uint32_t i = 0; i < 100; ++i) {
        sent.push_back({i, std::string(i, 'x'), static_cast<int32_t>(i)});
        ASSERT_EQ(0, send_text(name_, i, sent.back().data));
    }
    EXPECT_EQ(sent, ItcRecorder::wait_for(sent.size()));
}

TEST_F(ItcQueueTest, DeliversTenMessagesThatCameBeforeItsThreadWoke) {
    hold_threads();
    ASSERT_EQ(0, create());
    std::vector<ItcMessage> sent;
    for (uint32_t i = 0; i < 10; ++i) {
        sent.push_back({i, "message", 7});
        ASSERT_EQ(0, send_text(name_, i, "message"));
    }
    EXPECT_TRUE(ItcRecorder::messages().empty());
    start_thread();
    EXPECT_EQ(sent, ItcRecorder::wait_for(10));
    ASSERT_EQ(0, send_text(name_, 99, "last"));
    EXPECT_EQ(11u, ItcRecorder::wait_for(11).size());
}

TEST_F(ItcQueueTest, ReachesAQueueWhoseNameDiffersInLetterCaseOnly) {
    ASSERT_EQ(0, frwk_itc_create("Mixed Case", nullptr, ItcRecorder::handle));
    EXPECT_EQ(0, send_text("mIXED cASE", 1, "hello"));
    EXPECT_EQ((std::vector<ItcMessage>{{1, "hello", 5}}), ItcRecorder::wait_for(1));
}

TEST_F(ItcQueueTest, ReachesTheQueueThatIsNamed) {
    ASSERT_EQ(0, frwk_itc_create("one", nullptr, [](uint32_t, const void *, int32_t) { FAIL(); }));
    ASSERT_EQ(0, create());
    EXPECT_EQ(0, send_text(name_, 1, "hello"));
    EXPECT_EQ(1u, ItcRecorder::wait_for(1).size());
}

TEST_F(ItcQueueTest, DeliversAMessageWithoutData) {
    ASSERT_EQ(0, create());
    EXPECT_EQ(0, frwk_itc_send(name_.c_str(), UINT32_MAX, nullptr, 0));
    EXPECT_EQ((std::vector<ItcMessage>{{UINT32_MAX, "", 0}}), ItcRecorder::wait_for(1));
}

TEST_F(ItcQueueTest, CopiesTheDataBeforeItReturns) {
    hold_threads();
    ASSERT_EQ(0, create());
    std::string data = "before";
    EXPECT_EQ(0, send_text(name_, 1, data));
    data.replace(0, data.size(), "after!");
    start_thread();
    EXPECT_EQ((std::vector<ItcMessage>{{1, "before", 6}}), ItcRecorder::wait_for(1));
}

TEST_F(ItcQueueTest, DeliversAMebibyte) {
    ASSERT_EQ(0, create());
    const std::string data(1 << 20, 'd');
    EXPECT_EQ(0, send_text(name_, 1, data));
    EXPECT_EQ((std::vector<ItcMessage>{{1, data, 1 << 20}}), ItcRecorder::wait_for(1));
}

TEST_F(ItcQueueTest, FreesEachMessageOnceItIsHandled) {
    ASSERT_EQ(0, create());
    const uint32_t blocks = live_blocks();
    for (uint32_t i = 0; i < 50; ++i) {
        ASSERT_EQ(0, send_text(name_, i, "message"));
    }
    EXPECT_EQ(50u, ItcRecorder::wait_for(50).size());
    EXPECT_TRUE(wait_until([blocks] { return live_blocks() == blocks; }));
}

TEST_F(ItcQueueTest, AHandlerMaySendToItsOwnQueue) {
    ASSERT_EQ(0, frwk_itc_create(name_.c_str(), nullptr, send_to_self));
    g_own_queue = name_.c_str();
    ASSERT_EQ(0, frwk_itc_send(name_.c_str(), 1, nullptr, 0));
    const std::vector<ItcMessage> expected = {{1, "begin", 5}, {1, "end", 3},   {2, "begin", 5},
                                              {2, "end", 3},   {3, "begin", 5}, {3, "end", 3}};
    EXPECT_EQ(expected, ItcRecorder::wait_for(6));
}

TEST_F(ItcQueueTest, AHandlerMayCreateAQueue) {
    ASSERT_EQ(0, frwk_itc_create(name_.c_str(), nullptr, pass_to_new_queue));
    EXPECT_EQ(0, send_text(name_, 5, "hello"));
    EXPECT_EQ((std::vector<ItcMessage>{{5, "hello", 5}}), ItcRecorder::wait_for(1));
}

/* Alone: the emulator loses a child whose parent has threads, which an earlier test's queues are. */
class ItcQueueChildTest : public ItcQueueTest {};

TEST_F(ItcQueueChildTest, AHandlerMayEndTheProcess) {
    const ChildEnd end = run_in_child([this]() -> std::string {
        (void)frwk_itc_create(name_.c_str(), nullptr, end_process);
        (void)send_text(name_, 77, "hello");
        (void)send_text(name_, 78, "too late");
        frwk_keep_running();
        return "";
    });
    EXPECT_EQ(77, end.status) << end.errors;
    EXPECT_EQ("", end.errors);
}

TEST_F(ItcQueueTest, EachMessageWakesTheThreadOnce) {
    hold_threads();
    ASSERT_EQ(0, create());
    for (uint32_t i = 0; i < 10; ++i) {
        ASSERT_EQ(0, send_text(name_, i, "message"));
    }
    EXPECT_EQ(10u, base::os_sem_post.calls());
}

TEST_F(ItcQueueTest, AMessageWhoseWakeUpGotLostIsDeliveredBeforeTheNext) {
    ASSERT_EQ(0, create());
    base::os_sem_post.stand_in([](os_sem *) { return EOVERFLOW; });
    EXPECT_EQ(0, send_text(name_, 1, "first"));
    base::os_sem_post.restore();
    EXPECT_EQ(0, send_text(name_, 2, "second"));
    EXPECT_EQ((std::vector<ItcMessage>{{1, "first", 5}, {2, "second", 6}}), ItcRecorder::wait_for(2));
}

/* ---- Sends that fail ------------------------------------------------------------------------------- */

TEST_F(ItcQueueTest, ReportsAnUnknownName) {
    EXPECT_EQ(kNotExist, send_text("nobody", 1, "x"));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_send", "itc(nobody) has not been registered!"));
    EXPECT_EQ(0u, base::os_mem_malloc.calls());
}

TEST_F(ItcQueueTest, RefusesANullNameAndNullDataOfASize) {
    ASSERT_EQ(0, create());
    EXPECT_EQ(kParam, frwk_itc_send(nullptr, 1, "x", 1));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_send", "invalid itc parameter!"));
    log_.clear();
    EXPECT_EQ(kParam, frwk_itc_send(name_.c_str(), 1, nullptr, 1));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_send", "invalid itc parameter!"));
}

TEST_F(ItcQueueTest, DropsAMessageThatThereIsNoMemoryFor) {
    ASSERT_EQ(0, create());
    refuse_blocks();
    EXPECT_EQ(kMalloc, send_text(name_, 7, "lost"));
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "frwk_itc_send", "alloc for itc send failed! msgid:7, data_size:4"));
    base::os_mem_malloc.restore();
    EXPECT_EQ(0, send_text(name_, 8, "kept"));
    EXPECT_EQ((std::vector<ItcMessage>{{8, "kept", 4}}), ItcRecorder::wait_for(1));
}

TEST_F(ItcQueueTest, WorksInMemoryThatNobodyZeroed) {
    hand_out_dirty_blocks();
    ASSERT_EQ(0, create());
    EXPECT_EQ(0, send_text(name_, 8, "one"));
    EXPECT_EQ(0, send_text(name_, 9, "two"));
    EXPECT_EQ((std::vector<ItcMessage>{{8, "one", 3}, {9, "two", 3}}), ItcRecorder::wait_for(2));
}

TEST_F(ItcQueueTest, TakesASizeThatNothingHasForNoMemory) {
    ASSERT_EQ(0, create());
    const uint32_t blocks = live_blocks();
    const char data = 'x';
    for (const int32_t size : {-1, -24, INT_MIN, INT_MAX, INT_MAX - 24}) {
        EXPECT_EQ(kMalloc, frwk_itc_send(name_.c_str(), 5, &data, size)) << size;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_send",
                                "alloc for itc send failed! msgid:5, data_size:" + std::to_string(size)));
    }
    EXPECT_EQ(blocks, live_blocks());
}

TEST_F(ItcQueueTest, ANegativeSizeAsksForNoBlock) {
    ASSERT_EQ(0, create());
    const unsigned calls = base::os_mem_malloc.calls();
    EXPECT_EQ(kMalloc, frwk_itc_send(name_.c_str(), 5, nullptr, -8));
    EXPECT_EQ(calls, base::os_mem_malloc.calls());
}

TEST_F(ItcQueueTest, ItsThreadReportsThatItHasNoQueue) {
    EXPECT_EQ(nullptr, queue::run(nullptr));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_itc_main", assertion("NULL != itc")));
}
