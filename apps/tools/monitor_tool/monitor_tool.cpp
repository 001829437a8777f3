/*
 * monitor_tool: shows the status of the device's modules, and sends requests to the monitor.
 */
#include "cli/command_line_tool.h"
#include "cli/name_lookup.h"
#include "cli/number_range.h"
#include "device/module_identity.h"
#include "frwk_module.h"
#include "monitor_tool/module_report.h"
#include "monitor_tool/monitor_device.h"
#include "monitor_tool/monitor_options.h"
#include "monitor_tool/monitor_top.h"
#include "monitor_tool/status_commands.h"

namespace {

using Command = ExitCode (*)(const MonitorOptions &options);

constexpr double kShortestTime = 0.01;
constexpr double kLongestTimeout = 60;
constexpr double kLongestInterval = 3600;

/* Filled by the parser before a command runs. */
MonitorOptions g_options;

CommandLineTool::Run run(Command command) {
    return [command] {
        become_module(E_APPS_MODULE_MONITOR_TOOL);
        return command(g_options);
    };
}

void add_module(CLI::App &command) {
    command.add_option("MODULE", g_options.module, "Name, alias or id of a module")->required();
}

CLI::Option *add_modules(CLI::App &command, const std::string &what) {
    return command.add_option("MODULE", g_options.modules, what);
}

void add_timeout(CLI::App &command) {
    command.add_option("--timeout", g_options.timeout, "Seconds to wait for a module's answer (2)")
        ->type_name("S")
        ->check(real_number(kShortestTime, kLongestTimeout));
}

void add_json(CLI::App &command) {
    command.add_flag("--json", g_options.json, "Print JSON");
}

void add_order(CLI::App &command, const std::string &first) {
    command.add_option("--sort", g_options.sort, "The column to sort by (" + first + ")")
        ->type_name("COLUMN")
        ->check(one_of("column", column_names));
    command.add_flag("--reverse", g_options.reverse, "Reverse the order");
    command.add_flag("--running", g_options.running, "Leave out modules that don't run");
}

void add_looking_commands(CommandLineTool &tool) {
    CLI::App &list = tool.add("list", "List all modules and their status",
                              "monitor_tool list\n"
                              "monitor_tool list --running --sort memory\n"
                              "monitor_tool list --json | jq '.[] | select(.state == \"hangs\")'\n",
                              run(list_modules));
    add_order(list, "id");
    add_timeout(list);
    add_json(list);

    CLI::App &status =
        tool.add("status", "Show everything about a module", "monitor_tool status wlan\n", run(show_status));
    add_module(status);
    add_timeout(status);
    add_json(status);

    CLI::App &probe = tool.add("probe", "Show the response times of modules",
                               "monitor_tool probe --timeout 0.5 wlan router\n", run(probe_modules));
    add_modules(probe, "Names, aliases or ids of modules")->required();
    add_timeout(probe);
    add_json(probe);

    CLI::App &memory = tool.add("memory", "Show the tracked memory of modules",
                                "monitor_tool memory\n"
                                "monitor_tool memory --json zndb\n",
                                run(show_memory));
    add_modules(memory, "Names, aliases or ids of modules; default: all that answer");
    add_timeout(memory);
    add_json(memory);
}

void add_watching_commands(CommandLineTool &tool) {
    CLI::App &top = tool.add("top", "Show the modules, refreshed, until q or Ctrl-C",
                             "monitor_tool top --interval 0.5 --sort time\n", run(watch_modules));
    add_order(top, "memory");
    top.add_option("--interval", g_options.interval, "Seconds between two updates (2)")
        ->type_name("S")
        ->check(real_number(kShortestTime, kLongestInterval));
    add_timeout(top);

    CLI::App &events = tool.add("events", "Show the subscribers of events",
                                "monitor_tool events\n"
                                "monitor_tool events --json LANGUAGE\n",
                                run(show_events));
    events.add_option("TEXT", g_options.text, "Only events with this text in the name");
    add_json(events);
}

void add_switch(CommandLineTool &tool, const char *name, const char *purpose, Command command) {
    CLI::App &added = tool.add(name, purpose, std::string("monitor_tool ") + name + " wlan\n", run(command));
    add_module(added);
    add_timeout(added);
}

void add_device_command(CommandLineTool &tool, const char *name, const char *purpose, Command command) {
    CLI::App &added = tool.add(
        name, purpose,
        std::string("monitor_tool ") + name + "\n" + "monitor_tool " + name + " --yes --reason 801\n",
        run(command));
    added.add_flag("--yes", g_options.yes, "Don't ask");
    added.add_option("--reason", g_options.reason, "A reason code for the monitor (0)")
        ->type_name("N")
        ->check(whole_number(0, UINT32_MAX));
    add_timeout(added);
}

void add_acting_commands(CommandLineTool &tool) {
    add_switch(tool, "enable", "Request that a monitored module be enabled", enable_module);
    add_switch(tool, "disable", "Request that a monitored module be disabled", disable_module);
    add_device_command(tool, "reboot", "Request a reboot of the device", reboot_device);
    add_device_command(tool, "reset", "Request a reset to factory settings", reset_device);
    add_device_command(tool, "shutdown", "Request a shutdown of the device", shut_device_down);
}

constexpr ToolWords kWords = {"monitor_tool",
                              "Shows the status of the device's modules, and sends requests to the monitor.",
                              "monitor_tool list --running\n"
                              "monitor_tool status wlan\n"
                              "monitor_tool top\n"};

void declare(CommandLineTool &tool) {
    add_looking_commands(tool);
    add_watching_commands(tool);
    add_acting_commands(tool);
    tool.complete("MODULE", module_names);
    tool.complete("COLUMN", column_names);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
