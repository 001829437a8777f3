/*
 * logtool: shows the device's log, and switches debug mode and traces. Its commands are in *_commands.cpp.
 */
#include "cli/command_line_tool.h"
#include "cli/name_lookup.h"
#include "log/log_time.h"
#include "logtool/log_options.h"
#include "support/log_line.h"

namespace {

constexpr ToolWords kWords = {"logtool", "Shows the device's log, and switches debug mode and traces.",
                              "logtool show --module wlan --follow\n"
                              "logtool channels\n"
                              "logtool trace on router\n"};

void declare(CommandLineTool &tool) {
    tool.complete("MODULE", module_names);
    tool.complete("LEVEL", level_names);
    tool.complete("STATE", LogOptions::states);
    tool.complete("TIME", time_words);
    tool.complete("KEEP", LogOptions::ways_to_keep);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
