#include "device/event_key.h"

#include <algorithm>
#include <set>

#include "cli/name_lookup.h"
#include "cli/text_match.h"
#include "device/event_listeners.h"

std::string event_key(const std::string &word) {
    const std::vector<std::string> known = known_events();
    const std::string message = complete_message_name(word);
    const bool exists = std::find(known.begin(), known.end(), word) != known.end();
    return exists || message.empty() ? word : message;
}

bool is_event_pattern(const std::string &word) {
    const std::vector<std::string> known = known_events();
    return word.find_first_of("*?[") != std::string::npos &&
           std::find(known.begin(), known.end(), word) == known.end();
}

std::vector<std::string> event_keys_like(const std::string &pattern) {
    std::set<std::string> keys;
    for (const std::string &event : known_events()) {
        if (matches_pattern(event, pattern)) {
            keys.insert(event);
        }
    }
    for (const std::string &message : message_names_matching(pattern)) {
        keys.insert(message);
    }
    return {keys.begin(), keys.end()};
}

std::vector<std::string> listeners_of(const std::string &event) {
    for (const EventListeners &listeners : read_event_listeners()) {
        if (listeners.used && listeners.event == event) {
            return listeners.names;
        }
    }
    return {};
}

std::string listeners_problem(const std::string &event) {
    for (const EventListeners &listeners : read_event_listeners()) {
        const bool is_meant = listeners.event.empty() || listeners.event == event;
        if (listeners.used && is_meant && !listeners.problem.empty()) {
            return listeners.problem;
        }
    }
    return "";
}

std::vector<std::string> known_events() {
    std::vector<std::string> events;
    for (const EventListeners &listeners : read_event_listeners()) {
        if (listeners.used && !listeners.event.empty()) {
            events.push_back(listeners.event);
        }
    }
    return events;
}
