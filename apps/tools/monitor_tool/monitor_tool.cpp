/*
 * monitor_tool: shows the status of the device's modules, and sends requests to the monitor. Its commands are
 * in
 * *_commands.cpp.
 */
#include "cli/command_line_tool.h"
#include "cli/name_lookup.h"
#include "monitor_tool/module_columns.h"

namespace {

constexpr ToolWords kWords = {"monitor_tool",
                              "Shows the status of the device's modules, and sends requests to the monitor.",
                              "monitor_tool list --running\n"
                              "monitor_tool status wlan\n"
                              "monitor_tool top\n"};

std::vector<std::string> columns_for(const TypedWords &typed) {
    return typed.before.front() == "top" ? top_column_names() : column_names();
}

void declare(CommandLineTool &tool) {
    tool.complete("MODULE", module_names);
    tool.complete_with("COLUMN", columns_for);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
