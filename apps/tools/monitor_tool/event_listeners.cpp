#include "monitor_tool/event_listeners.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "device/text_file.h"

namespace {

namespace fs = std::filesystem;

/* The second one is used while the first is missing. */
constexpr const char *kFolders[] = {"/m_data/usr/subscribe", "/m_webui/subscribe"};

/* Longer lines are taken in pieces of this many characters, the line end counted. */
constexpr size_t kLineChars = 62;

constexpr char kLineTail[] = " \t\r\n";

/* The regular files of a folder. Other nodes are not events, and opening them might block. */
std::vector<std::string> file_names(const char *folder) {
    std::error_code error;
    std::vector<std::string> names;
    fs::directory_iterator entry(folder, error);
    while (!error && entry != fs::directory_iterator()) {
        if (entry->is_regular_file(error)) {
            names.push_back(entry->path().filename().string());
        }
        entry.increment(error);
    }
    std::sort(names.begin(), names.end());
    return names;
}

EventListeners read_event(const char *folder, bool used, const std::string &event) {
    EventListeners listeners = {event, folder, used, {}, ""};
    std::string text;
    listeners.problem = read_text_file(std::string(folder) + "/" + event, &text);
    listeners.names = subscriber_names(text);
    return listeners;
}

}  // namespace

std::vector<std::string> subscriber_names(const std::string &text) {
    std::vector<std::string> names;
    for (size_t at = 0; at < text.size();) {
        const size_t line_end = std::min(text.find('\n', at), text.size() - 1) + 1;
        const size_t length = std::min(line_end - at, kLineChars);
        std::string name = text.substr(at, length);
        name.erase(name.find_last_not_of(kLineTail) + 1);
        if (!name.empty()) {
            names.push_back(std::move(name));
        }
        at += length;
    }
    return names;
}

std::vector<EventListeners> read_event_listeners() {
    std::vector<EventListeners> all;
    bool used = true;
    for (const char *folder : kFolders) {
        std::error_code error;
        const bool exists = fs::exists(folder, error);
        for (const std::string &event : file_names(folder)) {
            all.push_back(read_event(folder, used, event));
        }
        used = used && !exists;
    }
    return all;
}
