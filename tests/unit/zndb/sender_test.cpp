#include "sender.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "frwk_module.h"
#include "support/lock_holder.h"
#include "support/record_lock_holder.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

class SenderTest : public testing::Test {
  protected:
    SenderTest() {
        std::filesystem::remove_all("/tmp/m_tmp/lock");
        base::os_uptime_sec.stand_in([this] { return now_; });
    }
    ~SenderTest() override { base::os_uptime_sec.restore(); }

    static size_t looks() { return libc::lstat.calls(); }

    uint32_t now_ = 5;
    SenderFinder finder_;
};

TEST_F(SenderTest, IsTheModuleWhoseLockTheProcessHolds) {
    const LockHolder router([] { (void)hold_instance_lock("router"); });
    EXPECT_EQ(static_cast<Sender>(E_APPS_MODULE_ROUTER), finder_.find(router.pid()));
}

TEST_F(SenderTest, IsTheProcessThatHoldsNone) {
    EXPECT_EQ(sender_of_process(::getpid()), finder_.find(::getpid()));
    EXPECT_NE(finder_.find(1), finder_.find(2));
    EXPECT_NE(kNobody, sender_of_process(0));
    EXPECT_LT(static_cast<Sender>(E_APPS_MODULE_MAX), sender_of_process(1));
}

TEST_F(SenderTest, IsLookedForOnceASecond) {
    libc::lstat.forget_calls();
    (void)finder_.find(::getpid());
    const size_t once = looks();
    EXPECT_LT(0u, once);
    for (int i = 0; i < 100; ++i) {
        (void)finder_.find(::getpid());
    }
    EXPECT_EQ(once, looks());
    ++now_;
    (void)finder_.find(::getpid());
    EXPECT_EQ(2 * once, looks());
}

TEST_F(SenderTest, ALockThatIsTakenLaterCountsASecondLater) {
    SocketPair pair;
    const pid_t child = ::fork();
    if (child == 0) {
        (void)read_bytes(pair.subject(), 1);
        (void)hold_instance_lock("router");
        (void)write_bytes(pair.subject(), Bytes(1));
        (void)read_bytes(pair.subject(), 1);
        ::_exit(0);
    }
    EXPECT_EQ(sender_of_process(child), finder_.find(child));
    (void)write_bytes(pair.test(), Bytes(1));
    (void)read_bytes(pair.test(), 1);
    ++now_;
    EXPECT_EQ(static_cast<Sender>(E_APPS_MODULE_ROUTER), finder_.find(child));
    (void)write_bytes(pair.test(), Bytes(1));
    (void)::waitpid(child, nullptr, 0);
}

TEST_F(SenderTest, OnlyTheLatestAreRemembered) {
    libc::lstat.forget_calls();
    for (int32_t process = 1; process <= 9; ++process) {
        (void)finder_.find(process);
    }
    const size_t before = looks();
    (void)finder_.find(9);
    EXPECT_EQ(before, looks());
    (void)finder_.find(1);
    EXPECT_LT(before, looks());
}

}  // namespace
