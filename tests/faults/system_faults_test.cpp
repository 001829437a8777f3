/*
 * Queries of the system, values in files and of commands, and the files that survive a restart.
 */
#include <cstring>
#include <filesystem>

#include "faults/faulty_device.h"
#include "faults/in_child.h"
#include "faults/stand_in_file.h"
#include "frwk_common.h"
#include "frwk_common_ex.h"
#include "os_time.h"
#include "support/wait_until.h"
#include "zndb.h"

namespace faults {

namespace {

using SystemFaults = FaultyDevice;

constexpr char kReason[] = "/m_data/usr_permanent/reboot_reason";
constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";
constexpr char kNode[] = "/m_data/usr/node";
constexpr char kCommandLine[] = "/m_data/usr/cmdline";

frwk_cpustate g_state;
frwk_sysinfo g_info;
char g_text[64];
int32_t g_number = 0;

constexpr char kOldText[] = "before";

void forget() {
    g_state = {};
    g_info = {};
    g_number = 0;
    std::memset(g_text, 0, sizeof(g_text));
}

bool is_text(const char *text) {
    return std::strcmp(g_text, text) == 0;
}

void use_stand_ins(const ToolFolder &tools) {
    tools.put_script("top", "echo 'CPU: 3% usr 1% sys 0% nic 95% idle'\n");
    tools.put_script("mpstat", "echo 'Average: all 3.00 0.00 1.00 0.00 0.00 0.00 0.00 0.00 0.00 95.00'\n");
    tools.put_script("df", "echo 'data 1 2 3 45%'\n");
}

constexpr char kOtherTools[] =
    "no tool is run from a folder that can't be looked at; the next one in PATH is";

std::vector<Scenario> tools() {
    const auto state_is_there = [] { return g_state.usr == 3 && g_state.usage == 5; };
    const auto cpu = [&](const char *name, void (*ask)(frwk_cpustate *)) {
        return Scenario(name)
            .prepared(forget)
            .called([ask] {
                ask(&g_state);
                return 0;
            })
            .verified(state_is_there)
            .reporting(Reports::kLog)
            .except({Call::lstat64}, Waived::kEffectIfLogged, kOtherTools);
    };
    return {
        cpu("frwk_get_cpustate_top", frwk_get_cpustate_top),
        cpu("frwk_get_cpustate_mpstat", frwk_get_cpustate_mpstat),
        cpu("frwk_get_cpustate", frwk_get_cpustate),
        Scenario("frwk_get_partion_info")
            .prepared(forget)
            .called([] { return frwk_get_partion_info("data", 5, &g_number); })
            .verified([] { return g_number == 45; })
            .unchanged([] { return g_number == 0; })
            .failing({-1})
            .except({Call::lstat64}, Waived::kEffectIfLogged, kOtherTools),
        Scenario("frwk_get_process_name")
            .prepared([] { std::strcpy(g_text, kOldText); })
            .called([] { return frwk_get_process_name(0, g_text, sizeof(g_text)) != nullptr ? 1 : 0; })
            .verified([] { return is_text("faults"); })
            .unchanged([] { return is_text(kOldText); })
            .failing({0})
            .except({Call::getc}, Waived::kEffectIfLogged, "without a name the buffer comes back as it was"),
        Scenario("frwk_get_popen_value_ex")
            .prepared(forget)
            .called([] { return frwk_get_popen_value_ex("echo -n printed", g_text, sizeof(g_text)); })
            .verified([] { return is_text("printed"); })
            .unchanged([] { return is_text(""); })
            .failing({-1}),
    };
}

std::vector<Scenario> kernel() {
    return {
        Scenario("frwk_get_sysinfo")
            .prepared(forget)
            .called([] { return frwk_get_sysinfo(&g_info) != 0 ? 1 : 0; })
            .verified([] { return g_info.total_ram != 0; })
            .reporting(Reports::kLog),
        Scenario("frwk_get_hardware_id")
            .prepared(forget)
            .called([] {
                frwk_get_hardware_id(g_text, sizeof(g_text));
                return 0;
            })
            .verified([] { return is_text("QR-5G-02"); })
            .reporting(Reports::kLog),
    };
}

/* Seconds: more than a call takes, so that the uptime shows whether they were subtracted. */
constexpr uint32_t kUptimeOffset = 10;

/* The result in a process whose first query fails. */
enum Uptime : long {
    kLess = 0, /* the time since boot, less the offset */
    kWhole = 1,
    kNotReadAgain = 2,
    kWrong = 3
};

bool is_between(uint32_t first, uint32_t time, uint32_t last) {
    return first <= time && time <= last;
}

Uptime ask_uptime() {
    const uint32_t before = os_uptime_sec();
    const uint32_t told = frwk_uptime();
    const uint32_t after = os_uptime_sec();
    if (is_between(before - kUptimeOffset, told, after - kUptimeOffset)) {
        return kLess;
    }
    return is_between(before, told, after) ? kWhole : kWrong;
}

/* Once more: an offset that could not be read is read at the next call. */
Uptime ask_uptime_twice() {
    const Uptime first = ask_uptime();
    stop_watching();
    return ask_uptime() == kLess ? first : kNotReadAgain;
}

/* In a child, since a process reads the offset once. */
std::vector<Scenario> uptime() {
    return {
        Scenario("frwk_uptime").called([] { return in_child(ask_uptime_twice); }).failing({kWhole}),
    };
}

std::vector<Scenario> restart() {
    return {
        Scenario("frwk_reboot_reason_save")
            .prepared([] { std::filesystem::remove(kReason); })
            .called([] { return frwk_reboot_reason_save(801); })
            .verified([] { return file_text(kReason) == "801"; })
            .failing({-1, 127 << 8}),
        Scenario("frwk_reboot_reason_get")
            .prepared([] { put_text(kReason, "801"); })
            .called([] { return frwk_reboot_reason_get(); })
            .failing({0})
            .except({Call::fread}, Waived::kWarning, "an empty file holds no reason", Fault::Way::kEnds),
        Scenario("frwk_system_reset_check")
            .prepared([] { put_text(kResetFlag, ""); })
            .called([] { return frwk_system_reset_check(); })
            .failing({0}),
        Scenario("frwk_system_reset_complete")
            .prepared([] { put_text(kResetFlag, ""); })
            .called([] {
                frwk_system_reset_complete();
                return 0;
            })
            .verified([] { return !std::filesystem::exists(kResetFlag); })
            .reporting(Reports::kLog),
    };
}

std::vector<Scenario> file_values() {
    return {
        Scenario("frwk_set_file_value")
            .prepared([] { put_text(kNode, "old"); })
            .called([] { return frwk_set_file_value(kNode, "new", 3); })
            .verified([] { return file_text(kNode) == "new"; })
            .failing({-1}),
        Scenario("frwk_set_file_value_ex")
            .prepared([] { put_text(kNode, "old"); })
            .called([] { return frwk_set_file_value_ex(kNode, "new", 3); })
            .verified([] { return file_text(kNode) == "new"; })
            .failing({-1}),
        Scenario("frwk_get_file_value")
            .prepared([] {
                forget();
                put_text(kNode, "x");
            })
            .called([] { return frwk_get_file_value(kNode, g_text, 1); })
            .verified([] { return is_text("x"); })
            .unchanged([] { return is_text(""); })
            .failing({-1}),
        Scenario("frwk_get_file_value_ex")
            .prepared([] {
                forget();
                put_text(kNode, "x");
            })
            .called([] { return frwk_get_file_value_ex(kNode, g_text, 1); })
            .verified([] { return is_text("x"); })
            .unchanged([] { return is_text(""); })
            .failing({-1}),
    };
}

}  // namespace

TEST_F(SystemFaults, Tools) {
    use_stand_ins(tools_);
    run_scenarios(tools());
}

TEST_F(SystemFaults, Kernel) {
    put_text(kCommandLine, "console=ttyS0 hardware.id=QR-5G-02 quiet\n");
    const StandInFile command_line("/proc/cmdline", kCommandLine);
    run_scenarios(kernel());
}

TEST_F(SystemFaults, Uptime) {
    start_database();
    ASSERT_EQ(E_ZNDB_RET_SUCCESS, zndb_set("device_uptime_offset", std::to_string(kUptimeOffset).c_str()));
    run_scenarios(uptime());
}

TEST_F(SystemFaults, Restart) {
    run_scenarios(restart());
}

TEST_F(SystemFaults, FileValues) {
    run_scenarios(file_values());
}

}  // namespace faults
