/*
 * The process after start-up: its signals, its socket, its log, its start hook.
 */
#include <dirent.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include "device_files.h"
#include "support/module_process.h"
#include "support/system_log.h"

namespace {

bool exists(const std::string &path) {
    return ::access(path.c_str(), F_OK) == 0;
}

std::string socket_of(const std::string &module) {
    return "/tmp/m_tmp/ipc/" + module;
}

bool is_socket(const std::string &path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

/* A word of /proc/PID/status, such as SigIgn, of one thread. */
std::string status_word(const std::string &task, const std::string &name) {
    const std::string text = file_text(task + "/status");
    const size_t at = text.find("\n" + name + ":");
    if (at == std::string::npos) {
        return "";
    }
    const size_t begin = text.find_first_not_of(" \t", at + name.size() + 2);
    return text.substr(begin, text.find_first_of(" \t\n", begin) - begin);
}

bool has_signal(const std::string &mask, int number) {
    return (std::strtoull(mask.c_str(), nullptr, 16) >> (number - 1) & 1) != 0;
}

std::vector<std::string> tasks_of(int pid) {
    const std::string folder = "/proc/" + std::to_string(pid) + "/task";
    std::vector<std::string> tasks;
    DIR *entries = ::opendir(folder.c_str());
    while (const dirent *entry = entries != nullptr ? ::readdir(entries) : nullptr) {
        if (entry->d_name[0] != '.') {
            tasks.push_back(folder + "/" + entry->d_name);
        }
    }
    if (entries != nullptr) {
        ::closedir(entries);
    }
    return tasks;
}

bool ended(int pid) {
    const std::string state = status_word("/proc/" + std::to_string(pid), "State");
    return state.empty() || state == "Z" || state == "X";
}

class ProcessSetup : public DeviceFiles {};

TEST_F(ProcessSetup, TheBrokenPipeSignalIsIgnored) {
    ModuleProcess wlan(5);
    EXPECT_TRUE(has_signal(status_word("/proc/" + std::to_string(wlan.pid()), "SigIgn"), SIGPIPE));
}

TEST_F(ProcessSetup, TheBrokenPipeSignalIsBlockedInEveryThread) {
    ModuleProcess wlan(5);
    const std::string process = "/proc/" + std::to_string(wlan.pid());
    const std::string main_thread = process + "/task/" + std::to_string(wlan.pid());
    EXPECT_TRUE(has_signal(status_word(main_thread, "SigBlk"), SIGPIPE));

    // The service thread inherited the block; a sanitizer's own threads did not come from the module.
    size_t blocked = 0;
    for (const std::string &task : tasks_of(wlan.pid())) {
        blocked += has_signal(status_word(task, "SigBlk"), SIGPIPE) ? 1 : 0;
    }
    EXPECT_GE(blocked, 2u);
}

TEST_F(ProcessSetup, AModuleEndsWhenItsParentEnds) {
    std::string command;
    for (const std::string &word : module_command(5)) {
        command += "'" + word + "' ";
    }
    ChildProcess parent({"sh", "-c", command + "& echo $!; wait"});
    const int pid = std::atoi(parent.read_line().value_or("0").c_str());
    ASSERT_GT(pid, 0);
    ASSERT_EQ("started", parent.read_line().value_or(""));

    parent.kill();
    EXPECT_TRUE(wait_until([pid] { return ended(pid); }));
}

TEST_F(ProcessSetup, TheParentsEndIsAHangup) {
    std::string command;
    for (const std::string &word : module_command(5)) {
        command += "'" + word + "' ";
    }
    // The inner shell prints the module's exit status; the outer one is its parent.
    ChildProcess parent({"sh", "-c", "trap '' HUP; " + command + "& echo $!; wait"});
    const int pid = std::atoi(parent.read_line().value_or("0").c_str());
    ASSERT_EQ("started", parent.read_line().value_or(""));

    // With the signal ignored from birth, the module outlives its parent.
    parent.kill();
    EXPECT_FALSE(wait_until([pid] { return ended(pid); }, std::chrono::milliseconds(300)));
    ::kill(pid, SIGKILL);
    EXPECT_TRUE(wait_until([pid] { return ended(pid); }));
}

TEST_F(ProcessSetup, AMonitoredModuleHasItsSocketWhenItIsStarted) {
    ModuleOptions options;
    options.registered = false;
    ModuleProcess wlan(5, options);
    EXPECT_TRUE(is_socket(socket_of("wlan")));
    EXPECT_TRUE(wlan.process().wait_for_error("******** 'wlan' module init complete ********"));
}

TEST_F(ProcessSetup, WarningsGoToTheSystemLogUnderTheModulesNameAndFacility) {
    SystemLog log;
    ModuleOptions options;
    options.debug = false;
    ModuleProcess wlan(5, options);
    ASSERT_TRUE(log.wait_for("can't found apps run cfg file"));
    const std::string line = log.find("can't found apps run cfg file");
    EXPECT_EQ("<188>", line.substr(0, 5));  // local7, warning
    EXPECT_NE(std::string::npos, line.find(" wlan")) << line;
    EXPECT_EQ("", wlan.process().errors());
}

TEST_F(ProcessSetup, TheFacilityOfTheConfigurationFileIsUsed) {
    SystemLog log;
    write_config("<m><wlan><facility>OS_LOG_LOCAL0</facility></wlan></m>");
    ModuleProcess wlan(5);
    ASSERT_TRUE(log.wait_for("can't found apps run cfg file"));
    EXPECT_EQ("<132>", log.find("can't found apps run cfg file").substr(0, 5));  // local0, warning
}

TEST_F(ProcessSetup, LinesBelowAWarningStayOutOfTheSystemLog) {
    SystemLog log;
    ModuleProcess wlan(5);
    ASSERT_TRUE(log.wait_for("can't found apps run cfg file"));
    EXPECT_EQ(0u, log.count("module init complete"));
}

TEST_F(ProcessSetup, TheToolHasNoSocketAndWritesItsDebugLines) {
    ModuleOptions options;
    options.registered = false;
    options.debug = false;
    ModuleProcess tool(0, options);
    EXPECT_FALSE(exists(socket_of("tool")));
    EXPECT_TRUE(tool.process().wait_for_error("can't found apps run cfg file"));
    EXPECT_EQ(std::string::npos, tool.process().errors().find("module init complete"));
}

TEST_F(ProcessSetup, MonitorToolHasNoSocketAndStaysQuiet) {
    ModuleOptions options;
    options.registered = false;
    options.debug = false;
    ModuleProcess monitor_tool(51, options);
    EXPECT_FALSE(exists(socket_of("monitor_tool")));
    EXPECT_EQ("", monitor_tool.process().errors());
}

TEST_F(ProcessSetup, QmiShutdownModemServesWithoutALock) {
    ModuleOptions options;
    options.registered = false;
    ModuleProcess qmi(38, options);
    EXPECT_TRUE(is_socket(socket_of("qmi_shutdown_modem")));
    EXPECT_FALSE(exists("/tmp/m_tmp/lock/qmi_shutdown_modem"));
    ModuleProcess wlan(5);
    EXPECT_EQ("status=0", wlan.ask("status 38"));
    EXPECT_EQ("ret=0 result=0", wlan.ask("sync 38 7 3 0 -"));
}

TEST_F(ProcessSetup, RegisteringStartsTheServiceOfAModuleThatHasNone) {
    ModuleOptions options;
    options.registered = false;
    ModuleProcess tool(52, options);
    EXPECT_FALSE(exists(socket_of("logtool")));
    EXPECT_EQ("registered", tool.ask("register"));
    ModuleProcess wlan(5);
    EXPECT_EQ("status=1", wlan.ask("status 52"));
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", wlan.ask("sync 52 40000 3 2 text:ok"));
}

TEST_F(ProcessSetup, ASocketFileOfAnEarlierRunIsReplaced) {
    {
        ModuleProcess first(5);
        first.process().kill();
    }
    ASSERT_TRUE(is_socket(socket_of("wlan")));
    ModuleProcess second(5);
    ModuleProcess router(3);
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", router.ask("sync 5 40000 3 2 text:ok"));
}

TEST_F(ProcessSetup, APlainFileInThePlaceOfTheSocketIsReplaced) {
    ::mkdir("/tmp/m_tmp/ipc", 0777);
    ASSERT_TRUE(write_text(socket_of("wlan"), "not a socket"));
    ModuleProcess wlan(5);
    EXPECT_TRUE(is_socket(socket_of("wlan")));
}

TEST_F(ProcessSetup, ASocketThatCanNotBeMadeIsAssertedAndTheModuleRunsOn) {
    ASSERT_TRUE(write_text("/tmp/m_tmp/ipc", ""));
    ModuleProcess wlan(5);
    EXPECT_TRUE(wlan.process().wait_for_error("socket bind error! errno="));
    EXPECT_TRUE(wlan.process().wait_for_error("ASSERT(0 <= g_s_ipcs_fd)"));
    EXPECT_EQ("wlan WLAN 0x1222 0 14 null", wlan.ask("row 5"));
}

TEST_F(ProcessSetup, NoDescriptorOfTheModuleReachesItsChildren) {
    write_start_hook("ls -l /proc/$$/fd > /tmp/m_tmp/hook\n");
    ModuleProcess wlan(5);
    const std::string open_files = file_text("/tmp/m_tmp/hook");
    EXPECT_NE(std::string::npos, open_files.find("pipe:")) << open_files;
    EXPECT_EQ(std::string::npos, open_files.find("socket:")) << open_files;
    EXPECT_EQ(std::string::npos, open_files.find("/tmp/m_tmp/lock")) << open_files;
}

TEST_F(ProcessSetup, TheStartHookGetsTheNameAndTheProcessIdAndIsWaitedFor) {
    write_start_hook("sleep 0.3\necho \"$@\" > /tmp/m_tmp/hook\n");
    ModuleProcess wlan(5);
    EXPECT_EQ("wlan " + std::to_string(wlan.pid()) + "\n", file_text("/tmp/m_tmp/hook"));
}

TEST_F(ProcessSetup, TheStartHookRunsForAToolToo) {
    write_start_hook("echo \"$1\" > /tmp/m_tmp/hook\n");
    ModuleProcess tool(0);
    EXPECT_EQ("tool\n", file_text("/tmp/m_tmp/hook"));
}

TEST_F(ProcessSetup, AStartHookThatFailsIsNoHarm) {
    write_start_hook("exit 3\n");
    ModuleProcess wlan(5);
    EXPECT_EQ("id=5", wlan.ask("id wlan"));
}

TEST_F(ProcessSetup, TheServiceRunsBeforeTheStartHook) {
    write_start_hook("test -S /tmp/m_tmp/ipc/wlan && echo served > /tmp/m_tmp/hook\n");
    ModuleProcess wlan(5);
    EXPECT_EQ("served\n", file_text("/tmp/m_tmp/hook"));
}

}  // namespace
