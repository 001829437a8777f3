#include "monitor_tool/monitor_options.h"

#include "device/module_identity.h"
#include "frwk_module.h"

namespace {

constexpr double kLongestTimeout = 60;

}  // namespace

void MonitorOptions::add_module(const Command &command) {
    command.add("MODULE", module, "Name, alias or id of a module").required();
}

CommandOption MonitorOptions::add_modules(const Command &command, const std::string &what) {
    return command.add("MODULE", modules, what);
}

void MonitorOptions::add_timeout(const Command &command) {
    command.add("--timeout", timeout, "Seconds to wait for a module's answer")
        .value("S")
        .shows_default()
        .within_real(kShortestTime, kLongestTimeout);
}

void MonitorOptions::add_json(const Command &command) {
    command.flag("--json", json, "Print JSON");
}

void MonitorOptions::add_order(const Command &command, const std::string &first, const KnownWords &columns) {
    command.add("--sort", sort, "The column to sort by (" + first + ")")
        .value("COLUMN")
        .one_of("column", columns);
    command.flag("--reverse", reverse, "Reverse the order");
    command.flag("--running", running, "Leave out modules that don't run");
}

CommandLineTool::Run MonitorOptions::runs(ExitCode (*command)(const MonitorOptions &options)) const {
    return [this, command] {
        become_module(E_APPS_MODULE_MONITOR_TOOL);
        return command(*this);
    };
}
