/*
 * The commands of monitor_tool that send a request to the monitor, which carries it out later.
 */

#include <cstdio>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/confirmation.h"
#include "cli/name_lookup.h"
#include "device/module_survey.h"
#include "frwk_common.h"
#include "monitor_tool/monitor_options.h"
#include "output/field_list.h"

namespace {

/* Checks that the monitor runs: otherwise the request would be lost, but side effects of the call would stay.
 */
ExitCode find_monitor(const MonitorOptions &options, const std::string &what) {
    const ProbeResult result = survey_module(E_APPS_MODULE_MONITOR, options.limit());
    return report_outcome(result.probe, E_APPS_MODULE_MONITOR, what);
}

ExitCode say_asked(const std::string &what) {
    print_sentence("the monitor was asked to " + what);
    return ExitCode::kDone;
}

// ---- modules ----

using Switch = int32_t (*)(int32_t module);

ExitCode switch_module(const MonitorOptions &options, const std::string &command, Switch act) {
    const Named module = find_module(options.module);
    if (!module.problem.empty()) {
        return complain(ExitCode::kUsage, module.problem);
    }
    const auto id = static_cast<int32_t>(module.number);
    const std::string what = command + " " + frwk_module_name(id);
    if (frwk_module_feature(id, FRWK_FLAG_MONITORED) == 0) {
        return complain(ExitCode::kRefused, what + " failed: it is not a monitored module");
    }
    const ExitCode code = find_monitor(options, what);
    if (code != ExitCode::kDone) {
        return code;
    }
    if (act(id) == 0) {
        return complain(ExitCode::kRefused, what +
                                                " failed: monitor_tool is not allowed to, or the monitor "
                                                "went away; QUOR_DEBUG=1 shows which");
    }
    return say_asked(what);
}

// ---- the device ----

struct DeviceCommand {
    const char *name; /* "reboot" */
    const char *what; /* text of the question */
    int32_t (*act)(uint32_t reason);
};

ExitCode act_on_device(const MonitorOptions &options, const DeviceCommand &command) {
    ExitCode code = find_monitor(options, command.name);
    if (code != ExitCode::kDone) {
        return code;
    }
    if (!is_confirmed(command.what, options.yes)) {
        return complain(ExitCode::kRefused, "nothing was done");
    }
    if (command.act(options.reason) == 0) {
        return complain(ExitCode::kUnreachable, std::string(command.name) + " failed: monitor went away");
    }
    return say_asked(command.what);
}

ExitCode enable_module(const MonitorOptions &options) {
    return switch_module(options, "enable", frwk_module_enable);
}

ExitCode disable_module(const MonitorOptions &options) {
    return switch_module(options, "disable", frwk_module_disable);
}

ExitCode reboot_device(const MonitorOptions &options) {
    return act_on_device(options, {"reboot", "reboot the device", frwk_system_reboot});
}

ExitCode reset_device(const MonitorOptions &options) {
    return act_on_device(options, {"reset", "reset the device to its factory settings", frwk_system_reset});
}

ExitCode shut_device_down(const MonitorOptions &options) {
    return act_on_device(options, {"shutdown", "shut the device down", frwk_system_shutdown});
}

// ---- the command line ----

using Act = ExitCode (*)(const MonitorOptions &options);

MonitorOptions g_options;

void add_switch(CommandLineTool &tool, const char *name, const char *purpose, Act command) {
    Command added =
        tool.add(name, purpose, std::string("monitor_tool ") + name + " wlan\n", g_options.runs(command));
    g_options.add_module(added);
    g_options.add_timeout(added);
}

void add_device_command(CommandLineTool &tool, const char *name, const char *purpose, Act command) {
    Command added = tool.add(
        name, purpose,
        std::string("monitor_tool ") + name + "\n" + "monitor_tool " + name + " --yes --reason 801\n",
        g_options.runs(command));
    added.flag("--yes", g_options.yes, "Don't ask");
    added.add("--reason", g_options.reason, "A reason code for the monitor")
        .value("N")
        .within(0, UINT32_MAX)
        .shows_default();
    g_options.add_timeout(added);
}

void declare(CommandLineTool &tool) {
    add_switch(tool, "enable", "Ask the monitor to enable a module", enable_module);
    add_switch(tool, "disable", "Ask the monitor to disable a module", disable_module);
    add_device_command(tool, "reboot", "Ask the monitor to reboot the device", reboot_device);
    add_device_command(tool, "reset", "Ask the monitor for a reset to factory settings", reset_device);
    add_device_command(tool, "shutdown", "Ask the monitor to shut the device down", shut_device_down);
}

const CommandGroup kCommands(4, declare);

}  // namespace
