/*
 * A handler forks, or another thread does during the start: the child neither hangs on a lock that a thread
 * held, nor keeps the module's sockets open after the module's end.
 */
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <string>

#include "frwk_common.h"
#include "security/attacker.h"
#include "security/processes/forking_module.h"
#include "support/child_process.h"
#include "support/wait_until.h"

namespace {

constexpr int32_t kUntouched = -99;

/* The test asks as a tool. */
class Fork : public testing::Test {
  protected:
    static void SetUpTestSuite() { frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr); }

    static apps_err_e_type ask(apps_message_id_e_type message, void *answer, uint32_t size, int32_t *result) {
        return frwk_ipc_send_sync(E_APPS_MODULE_ROUTER, message, nullptr, 0, answer, size, 1, result);
    }
    static bool is_ready(ChildProcess &module) { return module.read_line() == "ready"; }
};

class ForkUnderLoad : public Fork, public testing::WithParamInterface<std::string> {};

/* Kills the processes that a test left running. */
class Survivor {
  public:
    explicit Survivor(pid_t pid) : pid_(pid) {}
    ~Survivor() {
        if (pid_ > 0) {
            (void)::kill(pid_, SIGKILL);
        }
    }
    Survivor(const Survivor &) = delete;
    Survivor &operator=(const Survivor &) = delete;

    bool lives() const { return pid_ > 0 && ::kill(pid_, 0) == 0; }

  private:
    const pid_t pid_;
};

}  // namespace

TEST_P(ForkUnderLoad, NoChildHangs) {
    ChildProcess module({FORKING_MODULE, GetParam()}, {"QUOR_SYSLOG_LEVEL=0", "QUOR_DEBUG=1"});
    ASSERT_TRUE(is_ready(module));
    for (int i = 0; i < attack_rounds(); ++i) {
        int32_t result = kUntouched;
        ASSERT_EQ(E_APPS_ERR_SUCCESS, ask(kForkAndWork, nullptr, 0, &result)) << i;
        ASSERT_EQ(E_APPS_ERR_SUCCESS, result) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Loads, ForkUnderLoad, testing::Values("log", "shell", "events", "cipher"),
                         [](const auto &instance) { return instance.param; });

TEST_F(Fork, AChildThatLivesDoesNotKeepTheSocketOfADeadModule) {
    ChildProcess module({FORKING_MODULE});
    ASSERT_TRUE(is_ready(module));
    pid_t child = -1;
    int32_t result = kUntouched;
    ASSERT_EQ(E_APPS_ERR_SUCCESS, ask(kForkAndLive, &child, sizeof(child), &result));
    const Survivor survivor(child);
    module.kill();
    EXPECT_TRUE(survivor.lives());
    EXPECT_EQ(E_APPS_ERR_MODULE, ask(kForkAndWork, nullptr, 0, &result));
}

TEST_F(Fork, AChildThatLivesDoesNotKeepTheRequestOfADeadModule) {
    ChildProcess module({FORKING_MODULE});
    ASSERT_TRUE(is_ready(module));
    int32_t result = kUntouched;
    EXPECT_EQ(E_APPS_ERR_READ, ask(kForkAndDie, nullptr, 0, &result));
    const Survivor survivor(std::atoi(module.read_line().value_or("-1").c_str()));
    EXPECT_TRUE(survivor.lives());
    EXPECT_EQ(kUntouched, result);
}

namespace {

class ForkAtTheStart : public Fork, public testing::WithParamInterface<const char *> {};

}  // namespace

TEST_P(ForkAtTheStart, KeepsNoSocketOfADeadModule) {
    ChildProcess module({FORKING_MODULE, GetParam()});
    const Survivor survivor(std::atoi(module.read_line().value_or("-1").c_str()));
    ASSERT_TRUE(is_ready(module));
    module.kill();
    EXPECT_TRUE(survivor.lives());
    int32_t result = kUntouched;
    EXPECT_EQ(E_APPS_ERR_MODULE, ask(kForkAndWork, nullptr, 0, &result));
}

INSTANTIATE_TEST_SUITE_P(Moments, ForkAtTheStart, testing::Values("at-socket", "at-listen"));
