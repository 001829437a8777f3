/*
 * The command of monitor_tool that shows the subscribers of events.
 */
#include <cstdio>

#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/text_match.h"
#include "device/event_listeners.h"
#include "frwk_common.h"
#include "monitor_tool/monitor_options.h"
#include "output/field_list.h"
#include "output/json_output.h"
#include "output/terminal.h"
#include "output/text_wrap.h"

namespace {

constexpr size_t kMostNameColumns = 40;
constexpr size_t kFewestNameColumns = 10;
constexpr size_t kMargin = 4; /* columns before and after a name */

bool is_wanted(const EventListeners &listeners, const std::string &text) {
    return contains_like(listeners.event, text);
}

bool is_module(const std::string &name) {
    return frwk_module_id(name.c_str()) != 0;
}

/* Marks names that are not modules, since publishers skip them. */
std::string names_line(const EventListeners &listeners) {
    std::string line;
    for (const std::string &name : listeners.names) {
        line +=
            (line.empty() ? "" : " ") + shown_text(Stream::kOutput, name) + (is_module(name) ? "" : "(?)");
    }
    return line.empty() ? "-" : line;
}

size_t name_columns(const std::vector<EventListeners> &events) {
    size_t longest = kFewestNameColumns;
    for (const EventListeners &listeners : events) {
        longest = std::max(longest, listeners.event.size());
    }
    return std::min(longest, kMostNameColumns) + kMargin;
}

void print_folder(const EventListeners &first) {
    const std::string note = first.used ? "" : ", not used while the other folder exists";
    print_sentence("# " + first.folder + note, Style::kFaint);
}

void print_events(const std::vector<EventListeners> &events) {
    const size_t names_at = name_columns(events);
    std::string folder;
    for (const EventListeners &listeners : events) {
        if (listeners.folder != folder) {
            print_folder(listeners);
            folder = listeners.folder;
        }
        const std::string event = shown_text(Stream::kOutput, listeners.event);
        (void)std::fputs(wrapped_pair(event, names_line(listeners), output_width(), names_at).c_str(),
                         stdout);
    }
}

Json event_as_json(const EventListeners &listeners) {
    Json object = json_members();
    Json modules = json_items();
    Json unknown = json_items();
    for (const std::string &name : listeners.names) {
        add_item(is_module(name) ? modules : unknown, json_text(name));
    }
    add_member(object, "event", json_text(listeners.event));
    add_member(object, "folder", json_text(listeners.folder));
    add_member(object, "used", json_truth(listeners.used));
    add_member(object, "modules", std::move(modules));
    add_member(object, "unknown", std::move(unknown));
    return object;
}

void print_events_json(const std::vector<EventListeners> &events) {
    const Json items = json_items();
    for (const EventListeners &listeners : events) {
        add_item(items, event_as_json(listeners));
    }
    print_json(items);
}

ExitCode show_events(const MonitorOptions &options) {
    std::vector<EventListeners> wanted;
    ExitCode code = ExitCode::kDone;
    for (const EventListeners &listeners : read_event_listeners()) {
        if (!listeners.problem.empty()) {
            code = complain(ExitCode::kRefused, listeners.problem);
        } else if (is_wanted(listeners, options.text)) {
            wanted.push_back(listeners);
        }
    }
    if (options.json) {
        print_events_json(wanted);
    } else {
        print_events(wanted);
    }
    return code;
}

// ---- the command line ----

MonitorOptions g_options;

void declare(CommandLineTool &tool) {
    Command events = tool.add("events", "Show the subscribers of events",
                              "monitor_tool events\n"
                              "monitor_tool events --json LANGUAGE\n",
                              g_options.runs(show_events));
    events.add("TEXT", g_options.text, "Only events with this text in the name");
    g_options.add_json(events);
}

const CommandGroup kCommands(3, declare);

}  // namespace
