/*
 * The start of a module, step by step. Each start happens in a separate process, which reports what it
 * became.
 */
#include <cerrno>
#include <regex>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "support/child.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_common/module_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kConfig[] = "/etc/quor_apps_cfg.xml";
constexpr char kStartupList[] = "/etc/quor_apps_startup";
constexpr char kHook[] = "/usr/bin/apps_init";
constexpr char kLockFolder[] = "/tmp/m_tmp/lock/";

using Query = std::function<std::string()>;

void exit_handler(apps_message_id_e_type) {}

class ModuleInitTest : public ModuleTest {
  protected:
    ModuleInitTest() { clean(); }
    ~ModuleInitTest() override { clean(); }

    /* Starts a module in a separate process, which then answers the query. */
    static ChildEnd start(
        int32_t id, const Query &query = [] { return "started"; }) {
        return run_in_child([id, &query] {
            frwk_module_init(id, exit_handler);
            return query();
        });
    }
    static std::string report_of(int32_t id, const Query &query) {
        const ChildEnd end = start(id, query);
        EXPECT_EQ(end.status, 0) << end.errors;
        return end.report;
    }

  private:
    static void clean() {
        for (const char *path : {kConfig, kStartupList, kHook}) {
            remove_node(path);
        }
        for (const char *module : {"wlan", "tool", "monitor_tool", "qmi_shutdown_modem", "atfwd_daemon"}) {
            remove_node(kLockFolder + std::string(module));
            remove_node(socket_path(module));
        }
    }
};

std::string yes_or_no(bool value) {
    return value ? "yes" : "no";
}

/* "lock" and "service", as far as this process has them. */
std::string locks_and_services(const std::string &module) {
    std::string found;
    if (read_file(kLockFolder + module) == std::to_string(getpid())) {
        found += "lock ";
    }
    if (g_s_ipcs_fd >= 0 && g_s_ipc_thread != 0 && exists(socket_path(module))) {
        found += "service ";
    }
    return found;
}

/* Notes the steps of a start in their order. */
class Steps {
  public:
    Steps() {
        base::xml_file_parse.stand_in([this](const char *path) {
            add("config");
            return base::xml_file_parse.real(path);
        });
        base::os_mem_init.stand_in([this](const os_mem_settings *settings) {
            add(settings != nullptr ? "memory" : "memory(null)");
        });
        base::os_log_init.stand_in([this](const char *name, uint32_t facility) {
            add("log(" + std::string(name) + "," + std::to_string(facility) + ")");
        });
        base::os_debug_enable.stand_in([this] { add("debug"); });
        base::os_thread_create.stand_in(
            [this](os_thread_t *thread, const os_thread_attr *, os_thread_entry, void *) {
                add("thread");
                *thread = 1;
                return 0;
            });
        base::os_system.stand_in([this](const char *command) {
            add(std::string(command).substr(0, 9) == "apps_init" ? "hook" : "mkdir");
            return base::os_system.real(command);
        });
        base::os_sleep.stand_in([this](uint32_t s) { add("sleep(" + std::to_string(s) + "s)"); });
        base::os_msleep.stand_in([this](uint32_t ms) { add("sleep(" + std::to_string(ms) + "ms)"); });
        libc::fcntl.stand_in([this](int fd, int command, void *argument) {
            if (command == F_SETLK) {
                add("lock");
            }
            return libc::fcntl.real(fd, command, argument);
        });
        libc::fopen.stand_in([this](const char *path, const char *mode) {
            if (std::string(path) == kStartupList) {
                add("list");
            }
            return libc::fopen.real(path, mode);
        });
    }

    const std::string &text() const { return text_; }

  private:
    void add(const std::string &step) { text_ += step + ";"; }

    std::string text_;
};

std::string steps_of(int32_t id) {
    const ChildEnd end = run_in_child([id] {
        (void)mkdir(kLockFolder, 0755);
        make_ipc_folder();
        const Steps steps;
        frwk_module_init(id, nullptr);
        return steps.text();
    });
    return end.report;
}

}  // namespace

/* ---- The id ---------------------------------------------------------------------------------------- */

TEST_F(ModuleInitTest, RefusesAnIdThatIsNone) {
    for (const int32_t id : {53, 54, 1000, -1, INT32_MIN, INT32_MAX}) {
        const ChildEnd end = start(id);
        EXPECT_EQ(end.status, 255) << id;
        EXPECT_EQ(end.errors, "invalid module id=" + std::to_string(id) + "\n");
        EXPECT_EQ(end.report, "");
    }
}

TEST_F(ModuleInitTest, AcceptsTheFirstAndTheLastId) {
    EXPECT_EQ(start(0).report, "started");
    EXPECT_EQ(start(52).report, "started");
}

TEST_F(ModuleInitTest, AcceptsAnEmptySlot) {
    EXPECT_EQ(start(40).report, "started");
}

/* ---- Lock and service ------------------------------------------------------------------------------ */

TEST_F(ModuleInitTest, ToolHasNoLockNoServiceAndDebugOutput) {
    const std::string report = report_of(E_APPS_MODULE_TOOL, [] {
        return locks_and_services("tool") + (g_debug_log_enable != 0 ? "debug" : "");
    });
    EXPECT_EQ(report, "debug");
    EXPECT_FALSE(exists(kLockFolder + std::string("tool")));
    EXPECT_FALSE(exists(socket_path("tool")));
}

TEST_F(ModuleInitTest, MonitorToolHasNoLockNoServiceAndNoDebugOutput) {
    g_debug_log_enable = 0;
    const std::string report = report_of(E_APPS_MODULE_MONITOR_TOOL, [] {
        return locks_and_services("monitor_tool") + (g_debug_log_enable != 0 ? "debug" : "");
    });
    EXPECT_EQ(report, "");
    EXPECT_FALSE(exists(kLockFolder + std::string("monitor_tool")));
    EXPECT_FALSE(exists(socket_path("monitor_tool")));
}

TEST_F(ModuleInitTest, QmiShutdownModemHasAServiceButNoLock) {
    EXPECT_EQ(
        report_of(E_APPS_MODULE_QMI_SHUTDOWN_MODEM, [] { return locks_and_services("qmi_shutdown_modem"); }),
        "service ");
    EXPECT_FALSE(exists(kLockFolder + std::string("qmi_shutdown_modem")));
}

TEST_F(ModuleInitTest, MonitoredModuleHasALockAndAService) {
    EXPECT_EQ(report_of(E_APPS_MODULE_WLAN, [] { return locks_and_services("wlan"); }), "lock service ");
}

TEST_F(ModuleInitTest, DaemonHasALockAndAService) {
    write_file(kConfig, "<apps><wlan><flag>FRWK_FLAG_DAEMON</flag></wlan></apps>");
    EXPECT_EQ(report_of(E_APPS_MODULE_WLAN, [] { return locks_and_services("wlan"); }), "lock service ");
}

TEST_F(ModuleInitTest, FlagsOfTheConfigurationFileDecide) {
    write_file(kConfig, "<apps><wlan><flag>FRWK_FLAG_ADMIN</flag></wlan></apps>");
    EXPECT_EQ(report_of(E_APPS_MODULE_WLAN, [] { return locks_and_services("wlan"); }), "");
}

TEST_F(ModuleInitTest, AtfwdDaemonIsNotMonitored) {
    const std::string report = report_of(E_APPS_MODULE_ATFWD_DAEMON, [] {
        return std::to_string(g_modules_info[21].flag) + " " + locks_and_services("atfwd_daemon");
    });
    EXPECT_EQ(report, std::to_string(0x2A20) + " ");
}

TEST_F(ModuleInitTest, AtfwdDaemonIsMonitoredAgainByTheConfigurationFile) {
    write_file(kConfig, "<apps><atfwd_daemon><flag>FRWK_FLAG_MONITORED</flag></atfwd_daemon></apps>");
    EXPECT_EQ(report_of(E_APPS_MODULE_ATFWD_DAEMON, [] { return locks_and_services("atfwd_daemon"); }),
              "lock service ");
}

TEST_F(ModuleInitTest, OtherModulesLeaveAtfwdDaemonMonitored) {
    EXPECT_EQ(report_of(E_APPS_MODULE_TOOL, [] { return std::to_string(g_modules_info[21].flag); }),
              std::to_string(0x2A22));
}

TEST_F(ModuleInitTest, SecondStartEndsWhileTheFirstRuns) {
    const ChildEnd second = start(E_APPS_MODULE_WLAN, [] {
        const ChildEnd end = run_in_child([] {
            frwk_module_init(E_APPS_MODULE_WLAN, nullptr);
            return std::string("came back");
        });
        return std::to_string(end.status) + " " + end.report + end.errors;
    });
    /* On a busy machine the leak sanitizer adds a line, which begins with "==". */
    static const std::regex sanitizer_line("==[^\n]*\n");
    EXPECT_EQ(std::regex_replace(second.report, sanitizer_line, ""), "255 the 'wlan' is already running!\n");
}

TEST_F(ModuleInitTest, EndsWhenItsLockFileCanNotBeOpened) {
    (void)mkdir("/tmp/m_tmp/lock", 0755);
    ASSERT_EQ(mkdir("/tmp/m_tmp/lock/wlan", 0755), 0);
    const ChildEnd end = start(E_APPS_MODULE_WLAN);
    EXPECT_EQ(end.status, 255);
    EXPECT_EQ(end.errors, "can't open /tmp/m_tmp/lock/wlan\n");
    EXPECT_FALSE(exists(socket_path("wlan")));
}

TEST_F(ModuleInitTest, EndsWhenItsLockCanNotBeHad) {
    libc::fcntl.stand_in([](int fd, int command, void *argument) {
        if (command == F_SETLK) {
            errno = ENOLCK;
            return -1;
        }
        return libc::fcntl.real(fd, command, argument);
    });
    const ChildEnd end = start(E_APPS_MODULE_WLAN);
    EXPECT_EQ(end.status, 255);
    EXPECT_EQ(end.errors, "can't lock /tmp/m_tmp/lock/wlan\n");
}

TEST_F(ModuleInitTest, GoesOnWithoutASocket) {
    const std::string report = run_in_child([] {
                                   const LogCapture log;
                                   libc::socket.fail(EMFILE);
                                   frwk_module_init(E_APPS_MODULE_WLAN, nullptr);
                                   return log.text();
                               }).report;
    EXPECT_NE(report.find("create ipc socket error!"), std::string::npos) << report;
    EXPECT_NE(report.find("ASSERT(0 <= g_s_ipcs_fd) "), std::string::npos) << report;
}

/* ---- State, memory, log ---------------------------------------------------------------------------- */

TEST_F(ModuleInitTest, StoresTheModuleAndItsExitHandler) {
    g_s_module_status = 9;
    const std::string report = report_of(E_APPS_MODULE_MONITOR_TOOL, [] {
        return frwk_module_name(-1) + std::string(" ") + yes_or_no(g_s_exit_handler == exit_handler) + " " +
               std::to_string(g_s_module_status) + " " + std::to_string(g_s_ipcs_fd) + " " +
               std::to_string(g_s_ipc_thread) + " " + yes_or_no(g_s_ipc_handler == nullptr);
    });
    EXPECT_EQ(report, "monitor_tool yes 0 -1 0 yes");
}

TEST_F(ModuleInitTest, ModuleServesWithoutAHandlerAndWithStatusZero) {
    const std::string report = report_of(E_APPS_MODULE_WLAN, [] {
        return yes_or_no(ask_module("wlan", words({3, 6, 0, 3, 4, 0})) == words({0, 4, 0}));
    });
    EXPECT_EQ(report, "yes");
}

TEST_F(ModuleInitTest, HandsItsMemorySettingsOverAsOneBlock) {
    const std::string report = run_in_child([] {
                                   std::string given;
                                   base::os_mem_init.stand_in([&given](const os_mem_settings *s) {
                                       given = std::to_string(s->warn_at) + " " +
                                               std::to_string(s->refuse_at) + " " + std::to_string(s->pool) +
                                               " " + std::to_string(s->pool_block) + " " +
                                               std::to_string(s->pool_total);
                                   });
                                   g_modules_info[52].memory = {11, 12, 1, 13, 14};
                                   frwk_module_init(52, nullptr);
                                   return given;
                               }).report;
    EXPECT_EQ(report, "11 12 1 13 14");
}

/* A base library may keep the pointer and look there whenever it hands out memory. */
TEST_F(ModuleInitTest, ItsMemorySettingsStayWhereTheyAre) {
    const std::string report =
        run_in_child([] {
            const os_mem_settings *given = nullptr;
            base::os_mem_init.stand_in([&given](const os_mem_settings *settings) { given = settings; });
            g_modules_info[52].memory = {11, 12, 1, 13, 14};
            frwk_module_init(52, nullptr);
            const auto use_the_stack = [] {
                volatile char bytes[20000] = {};
                return bytes[5];
            };
            (void)use_the_stack();
            return std::to_string(given->warn_at) + " " + std::to_string(given->pool_total);
        }).report;
    EXPECT_EQ(report, "11 14");
}

TEST_F(ModuleInitTest, TakesNoMemoryBeforeItsSettingsAreHandedOver) {
    write_file(kConfig, "<apps><wlan><alias>RADIO</alias><cmd>-x</cmd></wlan><radius/></apps>");
    write_file(kStartupList, "wlan" + std::string(600, ' '));
    const std::string report =
        run_in_child([] {
            std::string before = "never";
            base::os_mem_init.stand_in([&before](const os_mem_settings *) {
                before = std::to_string(base::os_mem_malloc.calls() + base::os_mem_strdup.calls());
            });
            frwk_module_init(E_APPS_MODULE_WLAN, nullptr);
            return before + " " + std::to_string(base::os_mem_malloc.calls()) + " " + frwk_module_alias(-1);
        }).report;
    EXPECT_EQ(report, "0 1 RADIO");
}

TEST_F(ModuleInitTest, HandsOverABlockWithASingleSettingToo) {
    const frwk_module_memory settings[] = {
        {1, 0, 0, 0, 0}, {0, 1, 0, 0, 0}, {0, 0, 1, 0, 0}, {0, 0, 0, 1, 0}, {0, 0, 0, 0, 1}};
    for (const frwk_module_memory &memory : settings) {
        g_modules_info[52].memory = memory;
        EXPECT_EQ(steps_of(52), "memory;log(logtool,0);debug;list;");
    }
}

TEST_F(ModuleInitTest, WarnsAtTheModulesLimit) {
    const std::string report = report_of(E_APPS_MODULE_WLAN, [] {
        os_mem_usage_t usage;
        os_mem_usage(&usage);
        return std::to_string(usage.warn_at);
    });
    EXPECT_EQ(report, std::to_string(0x20000));
}

TEST_F(ModuleInitTest, ModuleWithoutFlagsGetsDebugOutput) {
    EXPECT_EQ(steps_of(52), "memory(null);log(logtool,0);debug;list;");
}

TEST_F(ModuleInitTest, ModuleWithAnyFlagGetsNone) {
    EXPECT_EQ(steps_of(51), "memory(null);log(monitor_tool,0);list;");
}

/* ---- Order ----------------------------------------------------------------------------------------- */

TEST_F(ModuleInitTest, TakesItsStepsInOrder) {
    write_file(kConfig, "<apps><wlan><delay>2500</delay><facility>MAIL</facility></wlan></apps>");
    write_file(kStartupList, "wlan\n");
    write_file(kHook, "#!/bin/sh\n");
    ASSERT_EQ(chmod(kHook, 0755), 0);
    EXPECT_EQ(steps_of(E_APPS_MODULE_WLAN),
              "config;lock;memory;log(wlan,16);list;thread;hook;sleep(2s);sleep(500ms);");
}

TEST_F(ModuleInitTest, MakesTheLockFolderBeforeItLocks) {
    remove_node("/tmp/m_tmp/lock/router");
    (void)rmdir("/tmp/m_tmp/lock");
    const std::string report = run_in_child([] {
                                   make_ipc_folder();
                                   const Steps steps;
                                   frwk_module_init(E_APPS_MODULE_WLAN, nullptr);
                                   return steps.text();
                               }).report;
    EXPECT_EQ(report, "mkdir;lock;memory;log(wlan,14);list;thread;");
}

TEST_F(ModuleInitTest, ReportsThatItIsComplete) {
    const std::string report =
        run_in_child([] {
            const LogCapture log;
            base::os_debug_enable.stand_in([] {});
            frwk_module_init(E_APPS_MODULE_WLAN, nullptr);
            return std::string(logged_once(log, kVerboseLevel, "frwk_module_init",
                                           "******** 'wlan' module init complete ********")
                                   ? "logged"
                                   : log.text());
        }).report;
    EXPECT_EQ(report, "logged");
}

TEST_F(ModuleInitTest, ReportsNothingOfTheKindWithoutAService) {
    const std::string report = run_in_child([] {
                                   const LogCapture log;
                                   frwk_module_init(E_APPS_MODULE_TOOL, nullptr);
                                   return std::to_string(log.count("module init complete"));
                               }).report;
    EXPECT_EQ(report, "0");
}

/* ---- Start-up list, delay -------------------------------------------------------------------------- */

TEST_F(ModuleInitTest, MarksTheModulesOfTheStartupList) {
    write_file(kStartupList, "router\r\n\r\n  wlan\r\n dbm\r\n");
    const std::string report = report_of(E_APPS_MODULE_TOOL, [] {
        std::string marked;
        for (int32_t id = 0; id < FRWK_MODULE_ROWS; ++id) {
            marked += (g_modules_info[id].flag & FRWK_FLAG_RUN) != 0 ? std::to_string(id) + " " : "";
        }
        return marked;
    });
    EXPECT_EQ(report, "3 5 12 ");
}

TEST_F(ModuleInitTest, GoesOnWithoutAStartupList) {
    EXPECT_EQ(start(E_APPS_MODULE_WLAN).report, "started");
}

TEST_F(ModuleInitTest, GoesOnWithoutMemoryForTheStartupList) {
    write_file(kStartupList, "wlan" + std::string(600, ' '));
    const std::string report =
        run_in_child([] {
            const LogCapture log;
            base::os_mem_malloc.stand_in([](size_t) -> void * { return nullptr; });
            frwk_module_init(E_APPS_MODULE_WLAN, nullptr);
            return std::to_string(log.count("alloc for load apps run cfg file failed!")) + " " +
                   std::to_string(log.count("module init complete"));
        }).report;
    EXPECT_EQ(report, "1 1");
}

TEST_F(ModuleInitTest, DoesNotSleepWithoutADelay) {
    EXPECT_EQ(report_of(E_APPS_MODULE_TOOL,
                        [] { return std::to_string(base::os_sleep.calls() + base::os_msleep.calls()); }),
              "0");
}

TEST_F(ModuleInitTest, SlotOfAnUnknownModuleCanBeStarted) {
    write_file(kConfig, "<apps><radius><flag>FRWK_FLAG_ADMIN</flag></radius></apps>");
    const std::string report = report_of(39, [] {
        return frwk_module_name(-1) + std::string(" ") + std::to_string(frwk_module_id("radius"));
    });
    EXPECT_EQ(report, "radius 39");
}
