/*
 * apptest: sends messages to modules, receives messages, plays a module, and measures response times. Its
 * commands are in *_commands.cpp.
 */
#include "cli/command_line_tool.h"
#include "cli/name_lookup.h"

namespace {

constexpr ToolWords kWords = {"apptest",
                              "Sends messages to the device's modules, receives them, and plays a module.",
                              "apptest call wlan sys_status --room 4 --dump\n"
                              "apptest subscribe E_APPS_MSG_SYS_LANGUAGE_CHANGE\n"
                              "apptest serve wlan --answer '0 text=hello'\n"};

void declare(CommandLineTool &tool) {
    tool.complete("MODULE", module_names);
    tool.complete("MESSAGE", message_names);
    tool.complete("EVENT", message_names);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
