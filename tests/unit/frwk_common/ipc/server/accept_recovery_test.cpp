/*
 * Connections that are dropped for lack of a descriptor are logged.
 */
#include "frwk_common/ipc/server/accept_recovery.h"

#include <fcntl.h>

#include <cerrno>
#include <string>

#include "doubles/libc_doubles.h"
#include "support/fake_time.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_common/ipc/test_peer.h"
#include "unit/frwk_common/module_fixture.h"

namespace libc = doubles::libc;

namespace {

class AcceptRecoveryTest : public ModuleTest {
  protected:
    AcceptRecoveryTest() {
        libc::accept4.stand_in([](int, sockaddr *, socklen_t *, int) {
            return libc::open.real("/dev/null", O_RDONLY | O_CLOEXEC, 0);
        });
    }

    /* The first failure only waits for a peer; with the second one it is dropped. */
    void drop(int connections) {
        while (connections-- > 0) {
            recovery_.after_failure(pair_.subject(), EMFILE);
            recovery_.after_failure(pair_.subject(), EMFILE);
        }
    }
    static std::string line(int count) {
        return "no descriptor left: connections dropped so far: " + std::to_string(count);
    }
    testing::AssertionResult said(int count) {
        return logged_once(log_, kWarningLevel, "frwk_ipc_loop", line(count));
    }
    size_t lines() { return log_.count("connections dropped"); }

    LogCapture log_;
    FakeTime time_;
    SocketPair pair_;
    ipc::AcceptRecovery recovery_;

  private:
    const bool readable_ = write_bytes(pair_.test(), pattern(1));
};

}  // namespace

TEST_F(AcceptRecoveryTest, TheFirstDropIsSaidAtOnce) {
    drop(1);
    EXPECT_TRUE(said(1));
}

TEST_F(AcceptRecoveryTest, AStormIsSaidOnceASecond) {
    drop(50);
    EXPECT_EQ(lines(), 1u);
    time_.pass(999);
    drop(1);
    EXPECT_EQ(lines(), 1u);
    time_.pass(1);
    drop(9);
    EXPECT_TRUE(said(52));
    EXPECT_EQ(lines(), 2u);
}

TEST_F(AcceptRecoveryTest, TheNextThatIsServedHasTheWholeCountSaid) {
    drop(50);
    recovery_.after_success();
    EXPECT_TRUE(said(50));
    recovery_.after_success();
    EXPECT_EQ(lines(), 2u);
}

TEST_F(AcceptRecoveryTest, NothingIsSaidWithoutADrop) {
    recovery_.after_success();
    recovery_.after_failure(pair_.subject(), EMFILE);
    recovery_.after_success();
    recovery_.after_failure(pair_.subject(), ECONNABORTED);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(AcceptRecoveryTest, AConnectionThatCouldNotBeTakenIsNotCounted) {
    libc::accept4.fail(EMFILE);
    drop(1);
    recovery_.after_success();
    EXPECT_EQ(lines(), 0u);
}
