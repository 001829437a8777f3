/*
 * apptest: sends messages to modules, receives messages, plays a module, and measures response times. Its
 * commands are in *_commands.cpp.
 */
#include <algorithm>

#include "apptest/answer_type.h"
#include "cli/command_line_tool.h"
#include "cli/name_lookup.h"
#include "cli/text_match.h"
#include "device/event_key.h"

namespace {

constexpr ToolWords kWords = {"apptest",
                              "Sends messages to the device's modules, receives them, and plays a module.",
                              "apptest call wlan sys_status --as uint\n"
                              "apptest subscribe E_APPS_MSG_SYS_LANGUAGE_CHANGE\n"
                              "apptest serve wlan --answer '0 text=hello'\n"};

/* The events that exist; the messages if none of them begins like the word. */
std::vector<std::string> events_like(const TypedWords &typed) {
    std::vector<std::string> events = known_events();
    const bool one_fits = std::any_of(events.begin(), events.end(), [&](const std::string &event) {
        return starts_like(event, typed.word);
    });
    return one_fits || typed.word.empty() ? events : message_names_like(typed.word);
}

void declare(CommandLineTool &tool) {
    tool.complete("MODULE", module_names);
    tool.complete_with("MESSAGE", [](const TypedWords &typed) { return message_names_like(typed.word); });
    tool.complete_with("EVENT", events_like);
    tool.complete("TYPE", answer_type_names);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
