/*
 * Sleeping, parking and starting threads. The base library's sleeps are replaced by test doubles.
 */
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <future>
#include <optional>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/faults_test_fixture.h"
#include "frwk_common.h"

namespace {

constexpr int kSeenEnough = 7;

/* Keeps the sleeps that were asked for, in order: "2s 500ms". */
class Waiting : public FaultsTest {
  protected:
    void record_sleeps() {
        doubles::base::os_sleep.stand_in([this](uint32_t seconds) { note(seconds, "s"); });
        doubles::base::os_msleep.stand_in([this](uint32_t ms) { note(ms, "ms"); });
    }

    std::string sleeps_;

  private:
    void note(uint32_t time, const char *unit) {
        sleeps_ += (sleeps_.empty() ? "" : " ") + std::to_string(time) + unit;
    }
};

TEST_F(Waiting, SleepsWholeSecondsAndThenTheRest) {
    record_sleeps();
    frwk_sleep(2500);
    EXPECT_EQ("2s 500ms", sleeps_);
}

TEST_F(Waiting, BelowASecondOnlyMillisecondsAreSlept) {
    record_sleeps();
    frwk_sleep(999);
    EXPECT_EQ("999ms", sleeps_);
}

TEST_F(Waiting, AWholeSecondMakesNoMillisecondCall) {
    record_sleeps();
    frwk_sleep(1000);
    EXPECT_EQ("1s", sleeps_);
}

TEST_F(Waiting, OneMillisecondIsSlept) {
    record_sleeps();
    frwk_sleep(1);
    EXPECT_EQ("1ms", sleeps_);
}

TEST_F(Waiting, ZeroReturnsAtOnce) {
    record_sleeps();
    frwk_sleep(0);
    EXPECT_EQ("", sleeps_);
}

TEST_F(Waiting, TheLongestSleepIsNotCut) {
    record_sleeps();
    frwk_sleep(UINT32_MAX);
    EXPECT_EQ("4294967s 295ms", sleeps_);
}

TEST_F(Waiting, ASleepTakesItsTime) {
    const auto start = std::chrono::steady_clock::now();
    frwk_sleep(30);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

/* Each of these runs in a separate process, which a test double ends. */
class KeepRunningDeathTest : public Waiting {
  protected:
    /* prepare: sets the double that ends the process. */
    static void expect_enough_seen(void (*prepare)()) {
        const auto park = [prepare] {
            prepare();
            frwk_keep_running();
        };
        EXPECT_EXIT(park(), testing::ExitedWithCode(kSeenEnough), "");
    }
};

TEST_F(KeepRunningDeathTest, WaitsOnASemaphoreThatStartsAtZero) {
    expect_enough_seen([] {
        doubles::base::os_sem_create.stand_in([](uint32_t count) {
            if (count != 0) {
                std::_Exit(1);
            }
            return doubles::base::os_sem_create.real(count);
        });
        doubles::base::os_sem_wait.stand_in([](os_sem *sem) {
            std::_Exit(sem != nullptr ? kSeenEnough : 2);
            return 0;
        });
    });
}

TEST_F(KeepRunningDeathTest, DoesNotReturnWhenAWaitEnds) {
    expect_enough_seen([] {
        doubles::base::os_sem_wait.stand_in([](os_sem *) {
            if (doubles::base::os_sem_wait.calls() == 3) {
                std::_Exit(kSeenEnough);
            }
            return 0;
        });
    });
}

TEST_F(KeepRunningDeathTest, SleepsAndWaitsAgainWhenAWaitFails) {
    expect_enough_seen([] {
        doubles::base::os_sem_wait.stand_in([](os_sem *) { return EINVAL; });
        doubles::base::os_sleep.stand_in([](uint32_t) {
            if (doubles::base::os_sleep.calls() == 3 && doubles::base::os_sem_wait.calls() == 3) {
                std::_Exit(kSeenEnough);
            }
        });
    });
}

TEST_F(KeepRunningDeathTest, ParksWithoutASemaphoreToo) {
    expect_enough_seen([] {
        doubles::base::os_sem_create.stand_in([](uint32_t) -> os_sem * { return nullptr; });
        doubles::base::os_sem_wait.stand_in([](os_sem *) {
            std::_Exit(1);
            return 0;
        });
        doubles::base::os_sleep.stand_in([](uint32_t) {
            if (doubles::base::os_sleep.calls() == 3) {
                std::_Exit(kSeenEnough);
            }
        });
    });
}

class ThreadCreate : public FaultsTest {};

void *keep_promise(void *argument) {
    static_cast<std::promise<void> *>(argument)->set_value();
    return nullptr;
}

TEST_F(ThreadCreate, RunsTheFunctionWithItsArgument) {
    static std::promise<void> ran;
    EXPECT_NE(0u, frwk_thread_create(keep_promise, &ran));
    ran.get_future().wait();
}

TEST_F(ThreadCreate, StartsWithTheDefaultAttributes) {
    std::optional<os_thread_attr> given;
    doubles::base::os_thread_create.stand_in(
        [&given](os_thread_t *thread, const os_thread_attr *attr, os_thread_entry, void *) {
            os_thread_attr defaults{};
            os_thread_attr_init(&defaults);
            given = attr != nullptr ? *attr : defaults;
            *thread = 42;
            return 0;
        });
    EXPECT_EQ(42u, frwk_thread_create(keep_promise, nullptr));

    os_thread_attr defaults{};
    os_thread_attr_init(&defaults);
    ASSERT_TRUE(given.has_value());
    EXPECT_EQ(defaults.detached, given->detached);
    EXPECT_EQ(defaults.stack_size, given->stack_size);
}

TEST_F(ThreadCreate, AThreadThatCanNotBeStartedGives0) {
    doubles::base::os_thread_create.stand_in(
        [](os_thread_t *, const os_thread_attr *, os_thread_entry, void *) { return EAGAIN; });
    EXPECT_EQ(0u, frwk_thread_create(keep_promise, nullptr));
}

}  // namespace
