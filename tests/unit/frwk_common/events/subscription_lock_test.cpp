/*
 * The lock of the subscriptions: against other processes, against other threads, and when it can't be taken.
 */
#include "frwk_common/events/subscription_lock.h"

#include <fcntl.h>

#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

#include "support/child.h"
#include "support/lock_holder.h"
#include "support/open_descriptors.h"
#include "support/record_lock_holder.h"
#include "support/threads.h"
#include "unit/frwk_common/events/subscription_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kBusy[] = "busy, will try lock again...";
constexpr char kLock[] = "frwk_ipc_subscribe_lock";

class SubscriptionLockTest : public SubscriptionTest {
  protected:
    /* How a process of its own sees the lock. */
    static pid_t holder() {
        const ChildEnd end =
            run_in_child([] { return std::to_string(record_lock_holder(kSubscribeLockFile)); });
        return static_cast<pid_t>(std::strtol(end.report.c_str(), nullptr, 10));
    }
};

/* Another process that holds the lock. */
class Holder : public LockHolder {
  public:
    Holder() : LockHolder([] { (void)events::lock_subscriptions(); }) {}
};

/* Answers the first requests for the lock with an error. */
void refuse_lock(int error, int times) {
    libc::fcntl.stand_in([error, times](int fd, int command, void *argument) mutable {
        if (command == F_SETLK && times > 0) {
            --times;
            errno = error;
            return -1;
        }
        return libc::fcntl.real(fd, command, argument);
    });
}

}  // namespace

TEST_F(SubscriptionLockTest, LocksTheWholeFileAndKeepsItsStream) {
    ASSERT_TRUE(events::lock_subscriptions());
    EXPECT_NE(g_s_sub_lock_file, nullptr);
    EXPECT_EQ(holder(), getpid());
    events::unlock_subscriptions();
    EXPECT_EQ(log_.text(), "");
}

TEST_F(SubscriptionLockTest, IsReleasedByClosingTheStream) {
    ASSERT_TRUE(events::lock_subscriptions());
    events::unlock_subscriptions();
    EXPECT_EQ(g_s_sub_lock_file, nullptr);
    EXPECT_EQ(holder(), 0);
}

TEST_F(SubscriptionLockTest, IsReleasedByAThreadThatIsCancelledMeanwhile) {
    pthread_t thread{};
    ASSERT_EQ(0, pthread_create(
                     &thread, nullptr,
                     [](void *) -> void * {
                         (void)events::lock_subscriptions();
                         (void)pthread_cancel(pthread_self());
                         pthread_testcancel();
                         events::unlock_subscriptions();
                         pthread_testcancel();
                         return nullptr;
                     },
                     nullptr));
    void *end = nullptr;
    ASSERT_EQ(0, pthread_join(thread, &end));
    EXPECT_EQ(PTHREAD_CANCELED, end);
    ASSERT_TRUE(events::lock_subscriptions());
    events::unlock_subscriptions();
}

TEST_F(SubscriptionLockTest, ThatFailsLeavesTheThreadCancellable) {
    refuse_lock(EIO, 1);
    EXPECT_FALSE(events::lock_subscriptions());
    int state = PTHREAD_CANCEL_DISABLE;
    EXPECT_EQ(0, pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &state));
    EXPECT_EQ(PTHREAD_CANCEL_ENABLE, state);
}

TEST_F(SubscriptionLockTest, EmptiesItsFile) {
    write_file(kSubscribeLockFile, "something");
    ASSERT_TRUE(events::lock_subscriptions());
    events::unlock_subscriptions();
    EXPECT_TRUE(exists(kSubscribeLockFile));
    EXPECT_EQ(read_file(kSubscribeLockFile), "");
}

TEST_F(SubscriptionLockTest, IsClosedOnExec) {
    ASSERT_TRUE(events::lock_subscriptions());
    EXPECT_NE(fcntl(fileno(g_s_sub_lock_file.load()), F_GETFD) & FD_CLOEXEC, 0);
    events::unlock_subscriptions();
}

TEST_F(SubscriptionLockTest, IsHeldForAScope) {
    {
        const events::SubscriptionLock lock;
        ASSERT_TRUE(lock);
        EXPECT_EQ(holder(), getpid());
    }
    EXPECT_EQ(holder(), 0);
}

TEST_F(SubscriptionLockTest, WaitsForAnotherProcessAndGoesOn) {
    Holder other;
    std::vector<uint32_t> pauses;
    base::os_msleep.stand_in([&](uint32_t ms) {
        pauses.push_back(ms);
        if (pauses.size() == 3) {
            other.end();
        }
    });
    EXPECT_TRUE(events::lock_subscriptions());
    EXPECT_EQ(pauses, (std::vector<uint32_t>{100, 100, 100}));
    EXPECT_EQ(log_.count(kBusy), 3u);
    EXPECT_EQ(holder(), getpid());
    events::unlock_subscriptions();
}

TEST_F(SubscriptionLockTest, SetsAFileAsideThatSomebodyHoldsAReadLockOn) {
    write_file(kSubscribeLockFile, "");
    const LockHolder reader([] { EXPECT_TRUE(hold_read_lock(kSubscribeLockFile)); });
    EXPECT_TRUE(events::lock_subscriptions());
    EXPECT_EQ(holder(), getpid());
    events::unlock_subscriptions();
    EXPECT_EQ(base::os_msleep.calls(), 0u);
    EXPECT_EQ(log_.count("was read-locked (owner"), 1u);
}

TEST_F(SubscriptionLockTest, HoldsNoFileWhileItWaits) {
    Holder other;
    const size_t before = open_descriptors();
    base::os_msleep.stand_in([&](uint32_t) {
        EXPECT_EQ(open_descriptors(), before);
        other.end();
    });
    EXPECT_TRUE(events::lock_subscriptions());
    events::unlock_subscriptions();
    EXPECT_EQ(base::os_msleep.calls(), 1u);
}

TEST_F(SubscriptionLockTest, IsFreeAfterItsHolderWasKilled) {
    Holder other;
    ASSERT_EQ(holder(), other.pid());
    other.kill();
    EXPECT_TRUE(events::lock_subscriptions());
    events::unlock_subscriptions();
    EXPECT_EQ(base::os_msleep.calls(), 0u);
}

TEST_F(SubscriptionLockTest, TakesEitherErrorForALockThatIsHeldElsewhere) {
    base::os_msleep.stand_in([](uint32_t) {});
    for (const int error : {EAGAIN, EACCES}) {
        log_.clear();
        refuse_lock(error, 1);
        EXPECT_TRUE(events::lock_subscriptions());
        events::unlock_subscriptions();
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kLock, kBusy));
    }
}

TEST_F(SubscriptionLockTest, TriesOnWithoutLimit) {
    base::os_msleep.stand_in([](uint32_t) {});
    refuse_lock(EAGAIN, 5000);
    EXPECT_TRUE(events::lock_subscriptions());
    events::unlock_subscriptions();
    EXPECT_EQ(base::os_msleep.calls(), 5000u);
}

TEST_F(SubscriptionLockTest, FailsOnAnyOtherError) {
    for (const int error : {ENOLCK, EBADF, EINTR, EDEADLK}) {
        log_.clear();
        refuse_lock(error, 1);
        EXPECT_FALSE(events::lock_subscriptions());
        EXPECT_EQ(g_s_sub_lock_file, nullptr);
        EXPECT_TRUE(
            logged_once(log_, kWarningLevel, kLock, with_errno("can't enter subscribe lock!", error)));
    }
}

TEST_F(SubscriptionLockTest, CanBeTakenAfterAFailure) {
    refuse_lock(ENOLCK, 1);
    EXPECT_FALSE(events::lock_subscriptions());
    EXPECT_TRUE(events::lock_subscriptions());
    events::unlock_subscriptions();
}

TEST_F(SubscriptionLockTest, FailsWhenItsFileCanNotBeMade) {
    (void)unlink(kSubscribeLockFile);
    ASSERT_EQ(mkdir(kSubscribeLockFile, 0755), 0);
    EXPECT_FALSE(events::lock_subscriptions());
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, kLock, with_errno("can't create subscribe lock file!", EISDIR)));
    (void)rmdir(kSubscribeLockFile);
    EXPECT_TRUE(events::lock_subscriptions());
    events::unlock_subscriptions();
}

TEST_F(SubscriptionLockTest, FailsWithoutItsFolder) {
    remove_tree("/tmp/m_tmp/lock");
    EXPECT_FALSE(events::lock_subscriptions());
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, kLock, with_errno("can't create subscribe lock file!", ENOENT)));
}

TEST_F(SubscriptionLockTest, KeepsTheThreadsOfAProcessApart) {
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    run_in_threads(8, [&](size_t) {
        for (int round = 0; round < 200; ++round) {
            const events::SubscriptionLock lock;
            most = std::max(most.load(), ++inside);
            --inside;
        }
    });
    EXPECT_EQ(most, 1);
}

TEST_F(SubscriptionLockTest, AWaitingThreadDoesNotLetTheRecordLockGo) {
    ASSERT_TRUE(events::lock_subscriptions());
    std::thread waiter([] { const events::SubscriptionLock lock; });
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(holder(), getpid());
    }
    events::unlock_subscriptions();
    waiter.join();
    EXPECT_EQ(holder(), 0);
}
