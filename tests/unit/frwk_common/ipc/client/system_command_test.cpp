/*
 * Requests to the monitor: their bytes, the reset flag, and who may switch which module.
 */
#include <cerrno>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_common/ipc/test_handler.h"
#include "unit/frwk_common/ipc/test_peer.h"
#include "unit/frwk_common/module_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";

/* A monitor that only listens; the process is module 3, router. */
class SystemCommandTest : public ModuleTest {
  protected:
    SystemCommandTest() { (void)unlink(kResetFlag); }

    /* Checks that the monitor received one notification of module 3 with one word. */
    static Bytes notification(uint32_t msgid, uint32_t word, uint32_t src = 3) {
        return words({src, msgid, 1, 3, 0, 4, word});
    }

    TestListener monitor_{"monitor"};
    LogCapture log_;
};

class ModuleSwitchTest : public SystemCommandTest {
  protected:
    /* Both directions have the same rules. */
    void expect_refused(int32_t module) {
        EXPECT_EQ(frwk_module_enable(module), 0) << module;
        EXPECT_EQ(frwk_module_disable(module), 0) << module;
        EXPECT_FALSE(monitor_.has_connection()) << module;
    }
    void expect_sent(int32_t module, uint32_t id, uint32_t src) {
        EXPECT_EQ(frwk_module_enable(module), 1) << module;
        EXPECT_EQ(monitor_.take_message(), notification(1005, id, src));
        EXPECT_EQ(frwk_module_disable(module), 1) << module;
        EXPECT_EQ(monitor_.take_message(), notification(1006, id, src));
    }
};

constexpr char kPermission[] = "no operation permission!!!";

std::string bad_id() {
    return assertion("(E_APPS_MODULE_MIN < id) && (E_APPS_MODULE_MAX > id)", "invalid module id");
}

std::string not_monitored() {
    return assertion("frwk_module_feature(id, (0x00000002))", "invalid operation");
}

}  // namespace

/* ---- Reboot, reset, shutdown ----------------------------------------------------------------------- */

TEST_F(SystemCommandTest, RebootTellsTheMonitorTheReason) {
    EXPECT_EQ(frwk_system_reboot(0xFFFFFFFE), 1);
    EXPECT_EQ(monitor_.take_message(), notification(1001, 0xFFFFFFFE));
}

TEST_F(SystemCommandTest, ResetTellsTheMonitorTheReason) {
    EXPECT_EQ(frwk_system_reset(6), 1);
    EXPECT_EQ(monitor_.take_message(), notification(1002, 6));
}

TEST_F(SystemCommandTest, ShutdownTellsTheMonitorTheReason) {
    EXPECT_EQ(frwk_system_shutdown(0), 1);
    EXPECT_EQ(monitor_.take_message(), notification(1003, 0));
}

TEST_F(SystemCommandTest, OnlyResetRunsACommand) {
    frwk_system_reboot(1);
    frwk_system_shutdown(1);
    EXPECT_EQ(base::os_system.calls(), 0u);
    EXPECT_EQ(libc::sync.calls(), 0u);
    EXPECT_FALSE(exists(kResetFlag));
}

TEST_F(SystemCommandTest, ResetMakesItsFlagAndSyncsBeforeItTellsTheMonitor) {
    std::string steps;
    base::os_system.stand_in([&steps](const char *command) {
        steps += std::string(command) + ";";
        return base::os_system.real(command);
    });
    libc::sync.stand_in([&steps] { steps += "sync;"; });
    libc::connect.stand_in([&steps](int fd, const sockaddr *address, socklen_t size) {
        steps += "connect;";
        return libc::connect.real(fd, address, size);
    });
    EXPECT_EQ(frwk_system_reset(6), 1);
    EXPECT_EQ(steps, "touch /m_data/usr_permanent/reset_flag;sync;connect;");
    EXPECT_TRUE(exists(kResetFlag));
}

TEST_F(SystemCommandTest, CommandsFailWithoutAMonitor) {
    monitor_.stop();
    EXPECT_EQ(frwk_system_reboot(1), 0);
    EXPECT_EQ(frwk_system_shutdown(1), 0);
    EXPECT_EQ(frwk_module_enable(-1), 0);
    EXPECT_EQ(frwk_module_disable(-1), 0);
    EXPECT_EQ(log_.count("ipc connect to module [monitor] failed!"), 4u);
}

TEST_F(SystemCommandTest, ResetMakesItsFlagWithoutAMonitorToo) {
    monitor_.stop();
    EXPECT_EQ(frwk_system_reset(6), 0);
    EXPECT_TRUE(exists(kResetFlag));
}

TEST_F(SystemCommandTest, ResetTellsTheMonitorWithoutAFlagToo) {
    base::os_system.stand_in([](const char *) { return -1; });
    EXPECT_EQ(frwk_system_reset(6), 1);
    EXPECT_EQ(monitor_.take_message(), notification(1002, 6));
}

TEST_F(SystemCommandTest, MonitorSendsACommandToItself) {
    become(E_APPS_MODULE_MONITOR);
    TestHandler::reset(1);
    g_s_ipc_handler = TestHandler::handle;
    EXPECT_EQ(frwk_system_reboot(5), 1);
    ASSERT_TRUE(log_.wait_for("async call msg handler failed!"));
    EXPECT_EQ(TestHandler::calls().at(0).msgid, 1001);
    EXPECT_EQ(TestHandler::calls().at(0).data, words({5}));
    EXPECT_FALSE(monitor_.has_connection());
}

/* ---- Enable and disable ---------------------------------------------------------------------------- */

TEST_F(ModuleSwitchTest, TellsTheMonitorTheModule) {
    become(E_APPS_MODULE_WLAN);
    expect_sent(3, 3, 5);
    expect_sent(39, 39, 5);
    EXPECT_EQ(log_.count("ASSERT"), 0u);
}

TEST_F(ModuleSwitchTest, TakesANegativeIdForTheCallingModule) {
    for (const int32_t module : {-1, -2, INT32_MIN}) {
        expect_sent(module, 3, 3);
    }
}

TEST_F(ModuleSwitchTest, NeedsNoPermissionForTheCallingModule) {
    g_modules_info[3].flag = FRWK_FLAG_MONITORED;
    expect_sent(-1, 3, 3);
    expect_sent(3, 3, 3);
    EXPECT_FALSE(log_.contains(kPermission));
}

TEST_F(ModuleSwitchTest, LogsUnderTheNamesOfItsTwoCalls) {
    become(E_APPS_MODULE_WLAN);
    (void)frwk_module_enable(53);
    (void)frwk_module_disable(E_APPS_MODULE_TOUCH_TEST);
    become(E_APPS_MODULE_BLE);
    (void)frwk_module_disable(E_APPS_MODULE_WLAN);

    std::vector<std::string> functions;
    for (const LogLine &line : log_.system_lines()) {
        functions.push_back(line.function);
    }
    EXPECT_EQ((std::vector<std::string>{"frwk_module_enable", "frwk_module_disable", "frwk_module_disable"}),
              functions)
        << log_.text();
}

TEST_F(ModuleSwitchTest, AssertsAnIdThatIsNone) {
    become(E_APPS_MODULE_WLAN);
    for (const int32_t module : {0, 53, 54, 1000, INT32_MAX}) {
        log_.clear();
        expect_refused(module);
        EXPECT_EQ(log_.count(bad_id()), 2u) << log_.text();
        EXPECT_FALSE(log_.contains("invalid operation"));
    }
}

TEST_F(ModuleSwitchTest, AssertsTheIdOfAToolThatMeansItself) {
    become(E_APPS_MODULE_TOOL);
    expect_refused(-1);
    EXPECT_EQ(log_.count(bad_id()), 2u) << log_.text();
    EXPECT_EQ(log_.assertions(), 0u);
}

TEST_F(ModuleSwitchTest, AssertsAModuleThatIsNotMonitored) {
    become(E_APPS_MODULE_WLAN);
    for (const int32_t module : {1, 38, 40, 47, 52}) {
        log_.clear();
        expect_refused(module);
        EXPECT_EQ(log_.count(not_monitored()), 2u) << log_.text();
        EXPECT_FALSE(log_.contains(kPermission));
    }
}

TEST_F(ModuleSwitchTest, AssertsACallingModuleThatIsNotMonitored) {
    become(E_APPS_MODULE_MONITOR_TOOL);
    expect_refused(-1);
    EXPECT_EQ(log_.count(not_monitored()), 2u) << log_.text();
    EXPECT_EQ(log_.assertions(), 0u);
}

TEST_F(ModuleSwitchTest, RefusesOtherModulesWithoutAdminFlag) {
    become(E_APPS_MODULE_BLE);
    for (const uint32_t flag : {0x2u, 0x1u, 0x4000u, ~FRWK_FLAG_ADMIN}) {
        g_modules_info[E_APPS_MODULE_BLE].flag = flag;
        log_.clear();
        expect_refused(3);
        EXPECT_EQ(log_.count(kPermission), 2u) << log_.text();
        EXPECT_EQ(count_lines(log_.system_lines(), kWarningLevel, kPermission), 2u);
    }
}

TEST_F(ModuleSwitchTest, AllowsOtherModulesWithAdminFlag) {
    become(E_APPS_MODULE_BLE);
    g_modules_info[E_APPS_MODULE_BLE].flag = 0x22;
    expect_sent(3, 3, 6);
    EXPECT_FALSE(log_.contains(kPermission));
}

TEST_F(ModuleSwitchTest, AllowsOtherModulesWithoutAnyFlag) {
    become(E_APPS_MODULE_TOOL);
    expect_sent(3, 3, 0);
    become(E_APPS_MODULE_LOGTOOL);
    expect_sent(3, 3, 52);
    EXPECT_FALSE(log_.contains(kPermission));
}
