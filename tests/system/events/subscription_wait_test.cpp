/*
 * The lock of the subscriptions between processes: a process that finds it held waits until it is free, even
 * if its holder was killed.
 */
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include "event_files.h"
#include "support/module_process.h"
#include "support/record_lock_holder.h"

namespace {

constexpr char kBusy[] = "busy, will try lock again...";

/* The lock, held by the test's process as any other program may. */
class ForeignLock {
  public:
    ForeignLock() {
        (void)::mkdir("/tmp/m_tmp/lock", 0755);
        fd_ = ::open(kEventLock, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        struct flock whole = {};
        whole.l_type = F_WRLCK;
        whole.l_whence = SEEK_SET;
        EXPECT_EQ(0, ::fcntl(fd_, F_SETLK, &whole));
    }
    ForeignLock(const ForeignLock &) = delete;
    ForeignLock &operator=(const ForeignLock &) = delete;
    ~ForeignLock() { release(); }

    void release() {
        if (fd_ >= 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }

  private:
    int fd_ = -1;
};

/* Whether the kernel has stopped a process. */
bool is_stopped(pid_t pid) {
    const std::string stat = file_text("/proc/" + std::to_string(pid) + "/stat");
    return stat.find(") T ") != std::string::npos;
}

class SubscriptionWait : public EventFiles {
  protected:
    /* Stops a module that subscribes and unsubscribes, at a moment at which it holds the lock or doesn't. */
    static bool stop_when(ModuleProcess *module, bool holds) {
        return wait_until([module, holds] {
            module->process().stop();
            const bool stopped = wait_until([module] { return is_stopped(module->pid()); });
            if (stopped && (record_lock_holder(kEventLock) == module->pid()) == holds) {
                return true;
            }
            module->process().send_signal(SIGCONT);
            return false;
        });
    }

    static bool stop_with_lock(ModuleProcess *module) {
        module->tell("churn link 1000000000 1");
        return stop_when(module, true);
    }

    /* Lets wlan wait for a lock that router holds, stopped. */
    static void wait_for_a_stopped_holder(ModuleProcess *holder, ModuleProcess *wlan) {
        ASSERT_TRUE(write_text(kEventFile, "lcd\n"));
        ASSERT_TRUE(stop_with_lock(holder));
        wlan->tell("sub link");
        EXPECT_TRUE(wlan->process().wait_for_error(kBusy));
    }
};

TEST_F(SubscriptionWait, EndsWhenAnotherProgramLetsTheLockGo) {
    ForeignLock lock;
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    router.tell("sub link");
    wlan.tell("unsub link");
    EXPECT_TRUE(router.process().wait_for_error(kBusy));
    EXPECT_TRUE(wlan.process().wait_for_error(kBusy));
    EXPECT_EQ("", file_text(kEventFile));
    lock.release();
    EXPECT_EQ("ret=0", router.reply());
    EXPECT_EQ("ret=0", wlan.reply());
    EXPECT_EQ(std::vector<std::string>{"router"}, subscribers());
}

TEST_F(SubscriptionWait, DoesNotKeepAPublisher) {
    ASSERT_TRUE(write_text(kEventFile, "wlan\n"));
    const ForeignLock lock;
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    EXPECT_EQ("done", router.ask("pub link 3001 -"));
    EXPECT_TRUE(wlan.wait_for_messages(1));
}

TEST_F(SubscriptionWait, DoesNotKeepTheModuleFromServing) {
    const ForeignLock lock;
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    router.tell("sub link");
    ASSERT_TRUE(router.process().wait_for_error(kBusy));
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", wlan.ask("sync 3 40000 3 2 text:ok"));
}

TEST_F(SubscriptionWait, EndsWhenTheHolderIsKilled) {
    ModuleProcess holder(3);
    ModuleProcess wlan(5);
    wait_for_a_stopped_holder(&holder, &wlan);
    holder.process().kill();
    EXPECT_EQ("ret=0", wlan.reply());
    EXPECT_EQ("wlan", subscribers().back());
}

TEST_F(SubscriptionWait, EndsWhenAStoppedHolderGoesOn) {
    ModuleProcess holder(3);
    ModuleProcess wlan(5);
    wait_for_a_stopped_holder(&holder, &wlan);
    holder.process().send_signal(SIGCONT);
    EXPECT_EQ("ret=0", wlan.reply());
    ASSERT_TRUE(stop_when(&holder, false)); /* with the lock it may be writing the list again */
    const std::vector<std::string> names = subscribers();
    EXPECT_EQ(1, std::count(names.begin(), names.end(), "wlan"));
}

TEST_F(SubscriptionWait, IsNotNeededAfterAHolderThatWasKilled) {
    for (int round = 0; round < 5; ++round) {
        ASSERT_TRUE(write_text(kEventFile, "lcd\n"));
        ModuleProcess holder(3);
        ASSERT_TRUE(stop_with_lock(&holder));
        holder.process().kill();
        ModuleProcess wlan(5);
        EXPECT_EQ("ret=0", wlan.ask("sub link"));
        EXPECT_EQ(std::string::npos, wlan.process().errors().find(kBusy));
        EXPECT_EQ("ret=0", wlan.ask("unsub link"));
    }
}

}  // namespace
