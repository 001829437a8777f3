/*
 * The system messages, the dispatch to the module's handler, and the wait for a handler that is not
 * registered yet.
 */
#include "frwk_common/ipc/server/ipc_dispatch.h"

#include <algorithm>
#include <future>
#include <numeric>

#include "doubles/base_doubles.h"
#include "support/child.h"
#include "support/log_checks.h"
#include "support/memory_usage.h"
#include "unit/frwk_common/ipc/test_handler.h"
#include "unit/frwk_common/module_fixture.h"

namespace base = doubles::base;

namespace {

constexpr char kWaitStart[] = "waiting for ipc handler register start...";
constexpr char kWaitComplete[] = "waiting for ipc handler register complete...";
constexpr char kWaitTimeout[] = "waiting for ipc handler timeout!";
constexpr char kNoHandler[] = "ipc handler is null!";

constexpr int32_t kSomeMessage = 3001;

class IpcDispatchTest : public ModuleTest {
  protected:
    IpcDispatchTest() {
        TestHandler::reset();
        base::os_msleep.stand_in([this](uint32_t ms) { slept(ms); });
        base::os_sleep.stand_in([this](uint32_t seconds) { slept(seconds * 1000); });
    }

    static void register_handler() { g_s_ipc_handler = TestHandler::handle; }

    /* A message without a body that wants no answer. */
    static apps_err_e_type dispatch(int32_t msgid, uint32_t src = 5, uint32_t timeout = 3) {
        return ipc::dispatch(src, msgid, nullptr, 0, nullptr, 0, timeout);
    }
    static apps_err_e_type dispatch_for_answer(int32_t msgid, Bytes *rsp) {
        return ipc::dispatch(5, msgid, nullptr, 0, rsp->data(), static_cast<uint32_t>(rsp->size()), 3);
    }

    /* Lets the timer run out at its nth question, 1 for the first. */
    void timer_runs_out_at(unsigned question) {
        base::os_simple_timer_start.stand_in([this](os_simple_timer *, uint64_t ms) { timer_ms_ = ms; });
        base::os_simple_timer_timeout.stand_in(
            [this, question](const os_simple_timer *) { return ++timer_questions_ >= question ? 1 : 0; });
    }
    void register_at_sleep(size_t number) { register_at_sleep_ = number; }

    LogCapture log_;
    std::vector<uint32_t> sleeps_;
    uint64_t timer_ms_ = 0;
    unsigned timer_questions_ = 0;

  private:
    void slept(uint32_t ms) {
        sleeps_.push_back(ms);
        if (sleeps_.size() == register_at_sleep_) {
            register_handler();
        }
    }

    size_t register_at_sleep_ = 0;
};

bool all_are(const std::vector<uint32_t> &values, uint32_t wanted) {
    return std::all_of(values.begin(), values.end(), [wanted](uint32_t value) { return value == wanted; });
}

void report_exit_message(apps_message_id_e_type msgid) {
    (void)std::fprintf(stderr, "exit %d\n", msgid);
}

}  // namespace

/* ---- Messages 1 to 4 ------------------------------------------------------------------------------- */

TEST_F(IpcDispatchTest, ExitMessagesCallTheExitHandlerAndEndTheProcess) {
    for (const int32_t msgid : {1, 2, 3, 4}) {
        const ChildEnd end = run_in_child([msgid] {
            reset_process_state(E_APPS_MODULE_ROUTER, report_exit_message);
            register_handler();
            dispatch(msgid);
            return std::string("came back");
        });
        EXPECT_EQ(end.status, 0) << msgid;
        EXPECT_EQ(end.report, "") << msgid;
        EXPECT_EQ(end.errors, "exit " + std::to_string(msgid) + "\n");
    }
}

TEST_F(IpcDispatchTest, ExitMessagesEndAProcessWithoutAnExitHandler) {
    for (const int32_t msgid : {1, 2, 3, 4}) {
        const ChildEnd end = run_in_child([msgid] {
            dispatch(msgid);
            return std::string("came back");
        });
        EXPECT_EQ(end.status, 0) << msgid;
        EXPECT_EQ(end.report, "") << msgid;
        EXPECT_EQ(end.errors, "") << msgid;
    }
}

namespace {

/* Set once a second message that ends the process waits for the first. */
std::promise<void> g_second_waits;

void *send_second_exit(void *) {
    (void)ipc::dispatch(5, 2, nullptr, 0, nullptr, 0, 3);
    (void)std::fprintf(stderr, "the second came back\n");
    return nullptr;
}

/* Takes so long that a second message comes meanwhile. */
void report_after_a_second_message(apps_message_id_e_type msgid) {
    base::os_sem_wait.stand_in([](os_sem *never_posted) {
        g_second_waits.set_value();
        return base::os_sem_wait.real(never_posted);
    });
    (void)frwk_thread_create(send_second_exit, nullptr);
    g_second_waits.get_future().wait();
    report_exit_message(msgid);
}

}  // namespace

TEST_F(IpcDispatchTest, OfTwoExitMessagesAtOnceTheFirstAloneCallsTheExitHandler) {
    const ChildEnd end = run_in_child([] {
        reset_process_state(E_APPS_MODULE_ROUTER, report_after_a_second_message);
        dispatch(1);
        return std::string("came back");
    });
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.report, "");
    EXPECT_EQ(end.errors, "exit 1\n");
}

/* ---- Messages 5 to 8 ------------------------------------------------------------------------------- */

TEST_F(IpcDispatchTest, LogMessageOpensTheLogAgain) {
    std::string name;
    uint32_t facility = 0;
    base::os_log_init.stand_in([&](const char *its_name, uint32_t its_facility) {
        name = its_name;
        facility = its_facility;
    });
    g_modules_info[E_APPS_MODULE_ROUTER].facility = 9;
    EXPECT_EQ(dispatch(5), 0);
    EXPECT_EQ(name, "router");
    EXPECT_EQ(facility, 9u);
}

TEST_F(IpcDispatchTest, StatusIsZeroBeforeAHandlerIsRegistered) {
    Bytes rsp = pattern(4);
    EXPECT_EQ(dispatch_for_answer(6, &rsp), 0);
    EXPECT_EQ(rsp, words({0}));
    EXPECT_TRUE(sleeps_.empty());
}

TEST_F(IpcDispatchTest, StatusIsTheWordThatTheModuleSet) {
    frwk_set_module_status(0xFFFFFFFE);
    Bytes rsp(4);
    EXPECT_EQ(dispatch_for_answer(6, &rsp), 0);
    EXPECT_EQ(rsp, words({0xFFFFFFFE}));
}

TEST_F(IpcDispatchTest, StatusNeedsFourBytes) {
    frwk_set_module_status(7);
    for (const size_t size : {size_t{0}, size_t{1}, size_t{3}}) {
        Bytes rsp = pattern(size);
        EXPECT_EQ(dispatch_for_answer(6, &rsp), 3) << size;
        EXPECT_EQ(rsp, pattern(size)) << size;
    }
    Bytes rsp(4);
    EXPECT_EQ(dispatch_for_answer(6, &rsp), 0);
}

TEST_F(IpcDispatchTest, StatusNeedsABuffer) {
    EXPECT_EQ(ipc::dispatch(5, 6, nullptr, 0, nullptr, 4, 3), 3);
}

TEST_F(IpcDispatchTest, StatusWritesFourBytesOnly) {
    frwk_set_module_status(7);
    Bytes rsp = pattern(12);
    EXPECT_EQ(dispatch_for_answer(6, &rsp), 0);
    EXPECT_EQ(rsp, words({7}) + slice(pattern(12), 4, 8));
}

TEST_F(IpcDispatchTest, StatusFitsABufferAtAnOddAddress) {
    frwk_set_module_status(0x01020304);
    Bytes rsp(5);
    EXPECT_EQ(ipc::dispatch(5, 6, nullptr, 0, rsp.data() + 1, 4, 3), 0);
    EXPECT_EQ(word_at(rsp, 1), 0x01020304u);
}

TEST_F(IpcDispatchTest, ProbeIsAlwaysAnsweredWithZero) {
    EXPECT_EQ(dispatch(7), 0);
    EXPECT_EQ(dispatch(7, 17), 0);
    TestHandler::reset(5);
    register_handler();
    EXPECT_EQ(dispatch(7), 0);
    EXPECT_TRUE(sleeps_.empty());
}

TEST_F(IpcDispatchTest, MemoryNeedsTwentyFourBytes) {
    for (const size_t size : {size_t{0}, size_t{4}, size_t{23}}) {
        Bytes rsp = pattern(size);
        EXPECT_EQ(dispatch_for_answer(8, &rsp), 3) << size;
        EXPECT_EQ(rsp, pattern(size)) << size;
    }
}

TEST_F(IpcDispatchTest, MemoryIsTheUsageOfThisProcess) {
    void *held = os_mem_malloc(1000);
    Bytes rsp = pattern(28);
    ASSERT_EQ(dispatch_for_answer(8, &rsp), 0);
    os_mem_usage_t usage;
    os_mem_usage(&usage);
    EXPECT_EQ(slice(rsp, 0, 24), words({usage.live_bytes, usage.peak_bytes, usage.live_blocks,
                                        usage.total_blocks, usage.refused, usage.warn_at}));
    EXPECT_EQ(slice(rsp, 24, 4), slice(pattern(28), 24, 4));
    EXPECT_GE(word_at(rsp, 0), 1000u);
    os_mem_free(held);
}

TEST_F(IpcDispatchTest, HandlerNeverSeesMessagesFiveToEight) {
    TestHandler::reset(77);
    register_handler();
    Bytes rsp(24);
    for (const int32_t msgid : {5, 6, 7, 8}) {
        EXPECT_EQ(dispatch_for_answer(msgid, &rsp), 0) << msgid;
    }
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}

/* ---- The module's handler -------------------------------------------------------------------------- */

TEST_F(IpcDispatchTest, HandlerGetsEveryArgumentAndItsResultIsReturned) {
    TestHandler::reset(-42, text_bytes("answer"));
    register_handler();
    const Bytes body = pattern(10);
    Bytes rsp(20);
    EXPECT_EQ(ipc::dispatch(11, kSomeMessage, body.data(), 10, rsp.data(), 20, 99), -42);

    const auto calls = TestHandler::calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].src, 11u);
    EXPECT_EQ(calls[0].msgid, kSomeMessage);
    EXPECT_EQ(calls[0].data, body);
    EXPECT_EQ(calls[0].data_len, 10);
    EXPECT_EQ(calls[0].rsp_size, 20u);
    EXPECT_EQ(calls[0].timeout, 99u);
    EXPECT_EQ(slice(rsp, 0, 6), text_bytes("answer"));
}

TEST_F(IpcDispatchTest, EveryOtherMessageReachesTheHandlerAtOnce) {
    register_handler();
    const std::vector<int32_t> messages = {0,    -1,   INT32_MIN, 9,      10,    1001,
                                           1007, 1010, 2001,      999999, 17000, INT32_MAX};
    for (const int32_t msgid : messages) {
        EXPECT_EQ(dispatch(msgid), 0) << msgid;
    }
    const auto calls = TestHandler::calls();
    ASSERT_EQ(calls.size(), messages.size());
    for (size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].msgid, messages[i]);
    }
    EXPECT_TRUE(sleeps_.empty());
    EXPECT_EQ(log_.text(), "");
}

/* ---- No handler yet -------------------------------------------------------------------------------- */

TEST_F(IpcDispatchTest, WebAndRemoteManagementNeverWait) {
    for (const uint32_t sender : {17u, 18u}) {
        log_.clear();
        EXPECT_EQ(dispatch(kSomeMessage, sender, 30), 13) << sender;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kNoHandler));
        EXPECT_FALSE(log_.contains(kWaitStart));
    }
    EXPECT_TRUE(sleeps_.empty());
}

TEST_F(IpcDispatchTest, WebAndRemoteManagementReachARegisteredHandler) {
    TestHandler::reset(4);
    register_handler();
    EXPECT_EQ(dispatch(kSomeMessage, 17), 4);
    EXPECT_EQ(dispatch(kSomeMessage, 18), 4);
}

TEST_F(IpcDispatchTest, EveryOtherSenderWaits) {
    timer_runs_out_at(1);
    for (const uint32_t sender : {0u, 3u, 16u, 19u, 53u, UINT32_MAX}) {
        log_.clear();
        EXPECT_EQ(dispatch(kSomeMessage, sender), 2) << sender;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kWaitStart));
    }
}

TEST_F(IpcDispatchTest, WaitsTheSendersSecondsInStepsOf200Ms) {
    timer_runs_out_at(26);
    EXPECT_EQ(dispatch(kSomeMessage, 3, 5), 2);
    EXPECT_EQ(timer_ms_, 5000u);
    EXPECT_GE(sleeps_.size(), 25u);
    EXPECT_LE(sleeps_.size(), 26u);
    EXPECT_TRUE(all_are(sleeps_, 200));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kWaitStart));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kWaitTimeout));
    EXPECT_FALSE(log_.contains(kWaitComplete));
}

TEST_F(IpcDispatchTest, CountsTheLongestLimitWithoutOverflow) {
    timer_runs_out_at(1);
    EXPECT_EQ(dispatch(kSomeMessage, 3, UINT32_MAX), 2);
    EXPECT_EQ(timer_ms_, 4294967295000u);
}

TEST_F(IpcDispatchTest, GivesUpAfterTheFirstLookWithoutALimit) {
    EXPECT_EQ(dispatch(kSomeMessage, 3, 0), 2);
    EXPECT_LE(sleeps_.size(), 1u);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kWaitTimeout));
}

TEST_F(IpcDispatchTest, CallsAHandlerThatIsRegisteredMeanwhile) {
    TestHandler::reset(7);
    timer_runs_out_at(100);
    register_at_sleep(3);
    EXPECT_EQ(dispatch(kSomeMessage, 3, 20), 7);
    EXPECT_EQ(sleeps_, (std::vector<uint32_t>{200, 200, 200}));
    EXPECT_EQ(TestHandler::calls().size(), 1u);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kWaitStart));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kWaitComplete));
    EXPECT_FALSE(log_.contains(kWaitTimeout));
}

TEST_F(IpcDispatchTest, LooksOneLastTimeWhenTheTimerHasRunOut) {
    TestHandler::reset(7);
    timer_runs_out_at(3);
    base::os_simple_timer_timeout.stand_in([this](const os_simple_timer *) {
        if (++timer_questions_ < 3) {
            return 0;
        }
        register_handler();
        return 1;
    });
    EXPECT_EQ(dispatch(kSomeMessage, 3, 1), 7);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kWaitComplete));
    EXPECT_FALSE(log_.contains(kWaitTimeout));
}

TEST_F(IpcDispatchTest, PowerNotificationsWaitWithoutLimit) {
    for (const int32_t msgid : {1008, 1009}) {
        g_s_ipc_handler = nullptr;
        TestHandler::reset(6);
        sleeps_.clear();
        register_at_sleep(500);
        EXPECT_EQ(dispatch(msgid, 3, 0), 6) << msgid;
        EXPECT_EQ(sleeps_.size(), 500u) << msgid;
        EXPECT_TRUE(all_are(sleeps_, 200)) << msgid;
        ASSERT_EQ(TestHandler::calls().size(), 1u) << msgid;
        EXPECT_EQ(TestHandler::calls()[0].msgid, msgid);
    }
    EXPECT_EQ(base::os_simple_timer_start.calls(), 0u);
}

TEST_F(IpcDispatchTest, PowerNotificationsWaitEvenForWebAndRemoteManagement) {
    TestHandler::reset(6);
    register_at_sleep(2);
    EXPECT_EQ(dispatch(1008, 17), 6);
    EXPECT_EQ(sleeps_.size(), 2u);
    EXPECT_FALSE(log_.contains(kNoHandler));
}

TEST_F(IpcDispatchTest, PowerNotificationsReachARegisteredHandlerAtOnce) {
    register_handler();
    EXPECT_EQ(dispatch(1008), 0);
    EXPECT_EQ(dispatch(1009), 0);
    EXPECT_TRUE(sleeps_.empty());
    EXPECT_EQ(TestHandler::calls().size(), 2u);
}

/* ---- Asynchronous messages of the module to itself ------------------------------------------------- */

namespace {

/* A record in a block of its own, as the sender makes it. */
void *make_record(const Bytes &bytes) {
    void *record = os_mem_malloc(bytes.size());
    std::memcpy(record, bytes.data(), bytes.size());
    return record;
}

}  // namespace

TEST_F(IpcDispatchTest, OwnMessageReachesTheHandlerWithoutAnAnswerBuffer) {
    register_handler();
    const uint32_t before = live_blocks();
    ipc::dispatch_own_message(make_record(words({3, 3001, 1, 9, 0, 5}) + text_bytes("hello")));

    const auto calls = TestHandler::calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].src, 3u);
    EXPECT_EQ(calls[0].msgid, 3001);
    EXPECT_EQ(calls[0].data, text_bytes("hello"));
    EXPECT_EQ(calls[0].data_len, 5);
    EXPECT_FALSE(calls[0].has_rsp);
    EXPECT_EQ(calls[0].rsp_size, 0u);
    EXPECT_EQ(calls[0].timeout, 9u);
    EXPECT_EQ(live_blocks(), before);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(IpcDispatchTest, OwnMessageWithoutABodyHasNoData) {
    register_handler();
    ipc::dispatch_own_message(make_record(words({3, 3001, 1, 9, 0, 0})));
    ASSERT_EQ(TestHandler::calls().size(), 1u);
    EXPECT_FALSE(TestHandler::calls()[0].has_data);
    EXPECT_EQ(TestHandler::calls()[0].data_len, 0);
}

TEST_F(IpcDispatchTest, OwnMessageThatFailedIsReportedAndItsRecordFreed) {
    TestHandler::reset(7);
    register_handler();
    const uint32_t before = live_blocks();
    ipc::dispatch_own_message(make_record(words({3, 3001, 1, 9, 0, 0})));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "async call msg handler failed!"));
    EXPECT_EQ(live_blocks(), before);
}

TEST_F(IpcDispatchTest, OwnMessageThatNobodyHandlesIsReportedAndItsRecordFreed) {
    timer_runs_out_at(1);
    const uint32_t before = live_blocks();
    ipc::dispatch_own_message(make_record(words({3, 3001, 1, 0, 0, 0})));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "async call msg handler failed!"));
    EXPECT_EQ(live_blocks(), before);
}

TEST_F(IpcDispatchTest, OwnMessageWithoutARecordIsAsserted) {
    register_handler();
    ipc::dispatch_own_message(nullptr);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_msg_async_handle", assertion("NULL != ptr")));
    EXPECT_EQ(TestHandler::calls().size(), 0u);
}
