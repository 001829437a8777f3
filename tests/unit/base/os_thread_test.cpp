#include "os_thread.h"

#include <semaphore.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <thread>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "support/threads.h"

namespace {

constexpr os_thread_attr kJoinable = {0, 0};

class OsThread : public FaultsTest {};
class OsMutex : public FaultsTest {};
class OsSem : public FaultsTest {};

void *no_memory(size_t, size_t) {
    return nullptr;
}

void *set_flag(void *flag) {
    *static_cast<std::atomic<bool> *>(flag) = true;
    return nullptr;
}

void *post(void *sem) {
    os_sem_post(static_cast<os_sem *>(sem));
    return nullptr;
}

void *wait_for(void *sem) {
    os_sem_wait(static_cast<os_sem *>(sem));
    return nullptr;
}

/* Starts a thread in name only, and notes what it was asked for with. */
struct StartRequest {
    int detach_state = -1;
    size_t stack_size = 0;

    void note() {
        doubles::libc::pthread_create.stand_in(
            [this](pthread_t *thread, const pthread_attr_t *attr, void *(*)(void *), void *) {
                pthread_attr_getdetachstate(attr, &detach_state);
                pthread_attr_getstacksize(attr, &stack_size);
                *thread = 99;
                return 0;
            });
    }
};

}  // namespace

TEST_F(OsThread, DefaultsToADetachedThreadWithTheSystemsStack) {
    os_thread_attr attr = {7, 7};
    EXPECT_EQ(0, os_thread_attr_init(&attr));
    EXPECT_EQ(1u, attr.detached);
    EXPECT_EQ(0u, attr.stack_size);
}

TEST_F(OsThread, StartsAThreadAndWaitsForItsEnd) {
    std::atomic<bool> has_run{false};
    os_thread_t thread = 0;
    ASSERT_EQ(0, os_thread_create(&thread, &kJoinable, set_flag, &has_run));
    EXPECT_NE(0u, thread);
    EXPECT_EQ(0, os_thread_join(thread));
    EXPECT_TRUE(has_run);
}

TEST_F(OsThread, StartsADetachedThreadByDefault) {
    os_sem *done = os_sem_create(0);
    os_thread_t thread = 0;
    ASSERT_EQ(0, os_thread_create(&thread, nullptr, post, done));
    EXPECT_EQ(0, os_sem_wait(done));
    os_sem_close(done);
}

TEST_F(OsThread, AsksForWhatTheAttributesSay) {
    StartRequest request;
    request.note();
    os_thread_t thread = 0;
    const os_thread_attr attr = {0, 256 * 1024};
    EXPECT_EQ(0, os_thread_create(&thread, &attr, set_flag, nullptr));
    EXPECT_EQ(PTHREAD_CREATE_JOINABLE, request.detach_state);
    EXPECT_EQ(256u * 1024u, request.stack_size);
    EXPECT_EQ(99u, thread);
}

TEST_F(OsThread, AsksForADetachedThreadWithAStackOfItsOwn) {
    StartRequest request;
    request.note();
    os_thread_t thread = 0;
    const os_thread_attr attr = {1, 256 * 1024};
    EXPECT_EQ(0, os_thread_create(&thread, &attr, set_flag, nullptr));
    EXPECT_EQ(PTHREAD_CREATE_DETACHED, request.detach_state);
    EXPECT_EQ(256u * 1024u, request.stack_size);
}

TEST_F(OsThread, AsksForADetachedThreadWithoutAttributes) {
    StartRequest request;
    request.note();
    os_thread_t thread = 0;
    EXPECT_EQ(0, os_thread_create(&thread, nullptr, set_flag, nullptr));
    EXPECT_EQ(PTHREAD_CREATE_DETACHED, request.detach_state);
}

TEST_F(OsThread, LeavesTheHandleWhenTheThreadIsRefused) {
    doubles::libc::pthread_create.stand_in(
        [](pthread_t *thread, const pthread_attr_t *, void *(*)(void *), void *) {
            *thread = 5;
            return EAGAIN;
        });
    os_thread_t thread = 42;
    EXPECT_EQ(EAGAIN, os_thread_create(&thread, nullptr, set_flag, nullptr));
    EXPECT_EQ(42u, thread);
}

TEST_F(OsThread, PassesOnThatThereIsNoMemoryForAttributes) {
    doubles::libc::pthread_attr_init.stand_in([](pthread_attr_t *) { return ENOMEM; });
    os_thread_t thread = 42;
    EXPECT_EQ(ENOMEM, os_thread_create(&thread, nullptr, set_flag, nullptr));
    EXPECT_EQ(42u, thread);
    EXPECT_EQ(0u, doubles::libc::pthread_create.calls());
}

TEST_F(OsThread, RefusesAStackThatIsTooSmall) {
    os_thread_t thread = 42;
    const os_thread_attr attr = {0, 1};
    EXPECT_EQ(EINVAL, os_thread_create(&thread, &attr, set_flag, nullptr));
    EXPECT_EQ(42u, thread);
}

TEST_F(OsThread, EndsAThreadThatWaits) {
    os_sem *never_posted = os_sem_create(0);
    os_thread_t thread = 0;
    ASSERT_EQ(0, os_thread_create(&thread, &kJoinable, wait_for, never_posted));
    EXPECT_EQ(0, os_thread_cancel(thread));
    EXPECT_EQ(0, os_thread_join(thread));
    os_sem_close(never_posted);
}

TEST_F(OsThread, RefusesNullAndNeitherJoinsNorEndsNoThread) {
    os_thread_t thread = 42;
    EXPECT_EQ(EINVAL, os_thread_create(nullptr, nullptr, set_flag, nullptr));
    EXPECT_EQ(EINVAL, os_thread_create(&thread, nullptr, nullptr, nullptr));
    EXPECT_EQ(42u, thread);
    EXPECT_EQ(ESRCH, os_thread_join(0));
    EXPECT_EQ(ESRCH, os_thread_cancel(0));
}

namespace {

struct Counter {
    os_mutex *mutex;
    int value;
};

void *count_up(void *argument) {
    auto *counter = static_cast<Counter *>(argument);
    for (int i = 0; i < 5000; ++i) {
        os_mutex_lock(counter->mutex);
        ++counter->value;
        os_mutex_unlock(counter->mutex);
    }
    return nullptr;
}

}  // namespace

TEST_F(OsMutex, LetsOneThreadInAtATime) {
    Counter counter = {os_mutex_create(), 0};
    ASSERT_NE(nullptr, counter.mutex);
    os_thread_t threads[4] = {};
    for (os_thread_t &thread : threads) {
        ASSERT_EQ(0, os_thread_create(&thread, &kJoinable, count_up, &counter));
    }
    for (const os_thread_t thread : threads) {
        EXPECT_EQ(0, os_thread_join(thread));
    }
    EXPECT_EQ(20000, counter.value);
    os_mutex_close(counter.mutex);
}

TEST_F(OsMutex, IsOpenWhenMadeAndAfterUnlock) {
    os_mutex *mutex = os_mutex_create();
    EXPECT_EQ(0, os_mutex_lock(mutex));
    EXPECT_EQ(0, os_mutex_unlock(mutex));
    EXPECT_EQ(0, os_mutex_lock(mutex));
    EXPECT_EQ(0, os_mutex_unlock(mutex));
    os_mutex_close(mutex);
}

TEST_F(OsMutex, CannotBeMadeWithoutMemory) {
    doubles::libc::calloc.stand_in(no_memory);
    EXPECT_EQ(nullptr, os_mutex_create());
}

TEST_F(OsMutex, CannotBeMadeWhenTheSystemRefusesIt) {
    doubles::libc::pthread_mutex_init.stand_in(
        [](pthread_mutex_t *, const pthread_mutexattr_t *) { return EAGAIN; });
    EXPECT_EQ(nullptr, os_mutex_create());
}

TEST_F(OsMutex, TakesNull) {
    EXPECT_EQ(EINVAL, os_mutex_lock(nullptr));
    EXPECT_EQ(EINVAL, os_mutex_unlock(nullptr));
    os_mutex_close(nullptr);
}

TEST_F(OsSem, StartsWithItsCount) {
    os_sem *sem = os_sem_create(2);
    ASSERT_NE(nullptr, sem);
    EXPECT_EQ(0, os_sem_wait(sem));
    EXPECT_EQ(0, os_sem_wait(sem));
    os_sem_close(sem);
}

TEST_F(OsSem, WakesAWaiter) {
    os_sem *sem = os_sem_create(0);
    os_thread_t thread = 0;
    ASSERT_EQ(0, os_thread_create(&thread, &kJoinable, post, sem));
    EXPECT_EQ(0, os_sem_wait(sem));
    EXPECT_EQ(0, os_thread_join(thread));
    os_sem_close(sem);
}

TEST_F(OsSem, KeepsPostsThatNobodyWaitsForYet) {
    os_sem *sem = os_sem_create(1);
    for (int i = 0; i < 99; ++i) {
        EXPECT_EQ(0, os_sem_post(sem));
    }
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(0, os_sem_wait(sem));
    }
    const unsigned calls = doubles::libc::sem_wait.calls();
    std::atomic<bool> passed{false};
    std::thread waiter([sem, &passed] {
        os_sem_wait(sem);
        passed = true;
    });
    while (doubles::libc::sem_wait.calls() == calls) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(passed);
    EXPECT_EQ(0, os_sem_post(sem));
    waiter.join();
    os_sem_close(sem);
}

TEST_F(OsSem, LetsThroughAsManyWaitsAsPostsAmongManyThreads) {
    constexpr size_t kPairs = 4;
    constexpr int kRounds = 5000;
    os_sem *sem = os_sem_create(3);
    run_in_threads(2 * kPairs, [sem](size_t number) {
        for (int round = 0; round < kRounds; ++round) {
            EXPECT_EQ(0, number % 2 == 0 ? os_sem_wait(sem) : os_sem_post(sem));
        }
    });
    for (int left = 0; left < 3; ++left) {
        EXPECT_EQ(0, os_sem_wait(sem));
    }
    os_sem_close(sem);
}

TEST_F(OsSem, WaitsOnAfterASignal) {
    os_sem *sem = os_sem_create(1);
    doubles::libc::sem_wait.stand_in([](sem_t *real_sem) {
        if (doubles::libc::sem_wait.calls() <= 2) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::sem_wait.real(real_sem);
    });
    EXPECT_EQ(0, os_sem_wait(sem));
    EXPECT_EQ(3u, doubles::libc::sem_wait.calls());
    os_sem_close(sem);
}

TEST_F(OsSem, PassesOnAWaitThatFails) {
    os_sem *sem = os_sem_create(1);
    doubles::libc::sem_wait.fail(EINVAL);
    EXPECT_EQ(EINVAL, os_sem_wait(sem));
    os_sem_close(sem);
}

/* The wait that failed left its place to the post, which the system's count has no room for. */
TEST_F(OsSem, PassesOnAPostThatFails) {
    os_sem *sem = os_sem_create(SEM_VALUE_MAX);
    ASSERT_NE(nullptr, sem);
    doubles::libc::sem_wait.fail(EINVAL);
    EXPECT_EQ(EINVAL, os_sem_wait(sem));
    EXPECT_EQ(EOVERFLOW, os_sem_post(sem));
    os_sem_close(sem);
}

TEST_F(OsSem, CannotBeMadeWithoutMemory) {
    doubles::libc::calloc.stand_in(no_memory);
    EXPECT_EQ(nullptr, os_sem_create(0));
}

TEST_F(OsSem, CannotBeMadeWithACountThatIsTooLarge) {
    EXPECT_EQ(nullptr, os_sem_create(UINT32_MAX));
}

TEST_F(OsSem, DoesNotPostPastTheLargestCount) {
    os_sem *sem = os_sem_create(INT_MAX);
    ASSERT_NE(nullptr, sem);
    EXPECT_EQ(EOVERFLOW, os_sem_post(sem));
    os_sem_close(sem);
}

TEST_F(OsSem, TakesNull) {
    EXPECT_EQ(EINVAL, os_sem_wait(nullptr));
    EXPECT_EQ(EINVAL, os_sem_post(nullptr));
    os_sem_close(nullptr);
}
