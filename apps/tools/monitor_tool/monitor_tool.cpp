/*
 * monitor_tool: shows the status of the device's modules, and sends requests to the monitor. Its commands are
 * in
 * *_commands.cpp.
 */
#include "cli/command_line_tool.h"
#include "cli/name_lookup.h"
#include "monitor_tool/module_report.h"

namespace {

constexpr ToolWords kWords = {"monitor_tool",
                              "Shows the status of the device's modules, and sends requests to the monitor.",
                              "monitor_tool list --running\n"
                              "monitor_tool status wlan\n"
                              "monitor_tool top\n"};

void declare(CommandLineTool &tool) {
    tool.complete("MODULE", module_names);
    tool.complete("COLUMN", column_names);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
