/*
 * The limits that the environment sets.
 */
#include "frwk_common/core/process_limits.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "support/child.h"
#include "support/log_checks.h"
#include "unit/frwk_common/module_fixture.h"

namespace {

constexpr char kExchange[] = "QUOR_IPC_EXCHANGE_LIMIT";
constexpr char kOwnMessages[] = "QUOR_IPC_OWN_MESSAGES_LIMIT";
constexpr char kWaiting[] = "QUOR_ITC_WAITING_LIMIT";

class ProcessLimitsTest : public ModuleTest {
  protected:
    ~ProcessLimitsTest() override {
        for (const char *variable : {kExchange, kOwnMessages, kWaiting}) {
            (void)unsetenv(variable);
        }
    }

    static std::vector<uint32_t> limits() {
        return {g_s_exchange_limit_s, g_s_own_messages_limit, g_s_itc_waiting_limit};
    }
    static void set(const char *variable, const char *value) { (void)setenv(variable, value, 1); }

    const std::vector<uint32_t> built_in_ = {0, 4096, 1000000};
    LogCapture log_;
};

}  // namespace

TEST_F(ProcessLimitsTest, AreBuiltInWhereTheEnvironmentSaysNothing) {
    EXPECT_EQ(limits(), built_in_);
    read_process_limits();
    EXPECT_EQ(limits(), built_in_);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(ProcessLimitsTest, AreSetByTheEnvironment) {
    set(kExchange, "60");
    set(kOwnMessages, "100");
    set(kWaiting, "999999999");
    read_process_limits();
    EXPECT_EQ(limits(), (std::vector<uint32_t>{60, 100, 999999999}));
}

TEST_F(ProcessLimitsTest, AreTakenAwayByZero) {
    for (const char *variable : {kExchange, kOwnMessages, kWaiting}) {
        set(variable, "0");
    }
    read_process_limits();
    EXPECT_EQ(limits(), (std::vector<uint32_t>{0, 0, 0}));
}

TEST_F(ProcessLimitsTest, StayWhereTheEnvironmentHasNoNumber) {
    for (const char *value : {"", "-1", "+1", " 1", "1 ", "1.5", "0x10", "many", "1000000000"}) {
        log_.clear();
        set(kOwnMessages, value);
        read_process_limits();
        EXPECT_EQ(limits(), built_in_) << value;
        EXPECT_TRUE(logged_once(
            log_, kWarningLevel,
            "QUOR_IPC_OWN_MESSAGES_LIMIT is not a number of up to 9 digits: the limit stays 4096"));
    }
}

TEST_F(ProcessLimitsTest, AreReadWhenAModuleStarts) {
    set(kExchange, "7");
    const ChildEnd end = run_in_child([] {
        frwk_module_init(E_APPS_MODULE_TOOL, nullptr);
        return std::to_string(g_s_exchange_limit_s);
    });
    EXPECT_EQ(end.report, "7") << end.errors;
}
