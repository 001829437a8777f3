/*
 * probe-module PROBE [ARGUMENT...]
 *
 * A module that asks one question about the system and prints the answer as one line. A record's members
 * start as 7777, so that a member that was not written shows.
 */
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "frwk_common.h"

namespace {

using Arguments = std::vector<std::string>;
using CpuProbe = void (*)(frwk_cpustate *);

constexpr uint32_t kUntouched = 7777;

void print_cpu(CpuProbe probe) {
    frwk_cpustate state = {kUntouched, kUntouched, kUntouched, kUntouched, kUntouched};
    probe(&state);
    std::printf("%u %u %u %u %u\n", state.usr, state.nic, state.sys, state.idle, state.usage);
}

void print_top(const Arguments &) {
    print_cpu(frwk_get_cpustate_top);
}

void print_mpstat(const Arguments &) {
    print_cpu(frwk_get_cpustate_mpstat);
}

void print_partition(const Arguments &arguments) {
    int32_t number = kUntouched;
    const int32_t ret = frwk_get_partion_info(arguments.at(0).c_str(), std::stoi(arguments.at(1)), &number);
    std::printf("%d %d\n", ret, number);
}

void print_hardware_id(const Arguments &) {
    char id[64] = "";
    frwk_get_hardware_id(id, sizeof(id));
    std::printf("%s\n", id);
}

void print_process_name(const Arguments &arguments) {
    std::printf("%s\n", frwk_get_process_name(std::stoi(arguments.at(0)), nullptr, 0));
}

void print_sysinfo(const Arguments &) {
    frwk_sysinfo info = {};
    const uint32_t uptime = frwk_get_sysinfo(&info);
    std::printf("%u %u %u %u %u %u %u %u %u %u %u\n", uptime, info.uptime, info.total_ram, info.free_ram,
                info.shared_ram, info.buffer_ram, info.total_swap, info.free_swap, info.used_ram,
                info.mem_unit, info.procs);
}

void save_reason(const Arguments &arguments) {
    std::printf("%d\n", frwk_reboot_reason_save(std::stoi(arguments.at(0))));
}

void print_reason(const Arguments &) {
    std::printf("%d\n", frwk_reboot_reason_get());
}

void reset(const Arguments &) {
    std::printf("%d\n", frwk_system_reset(1));
}

void print_reset_flag(const Arguments &) {
    std::printf("%d\n", frwk_system_reset_check());
}

void complete_reset(const Arguments &) {
    frwk_system_reset_complete();
    std::printf("done\n");
}

struct Probe {
    const char *name;
    void (*print)(const Arguments &);
};

constexpr Probe kProbes[] = {
    {"top", print_top},
    {"mpstat", print_mpstat},
    {"partition", print_partition},
    {"hardware-id", print_hardware_id},
    {"process-name", print_process_name},
    {"sysinfo", print_sysinfo},
    {"save-reason", save_reason},
    {"reason", print_reason},
    {"reset", reset},
    {"reset-flag", print_reset_flag},
    {"complete-reset", complete_reset},
};

}  // namespace

int main(int argc, char **argv) {
    frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
    for (const Probe &probe : kProbes) {
        if (argc > 1 && std::strcmp(argv[1], probe.name) == 0) {
            probe.print(Arguments(argv + 2, argv + argc));
            return 0;
        }
    }
    return 2;
}
