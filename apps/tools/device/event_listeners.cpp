#include "device/event_listeners.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "device/access_words.h"
#include "device/text_file.h"
#include "formats/device_paths.h"
#include "formats/subscription_line.h"

namespace {

namespace fs = std::filesystem;

/* The second one is used while the first is missing. */
constexpr const char *kFolders[] = {paths::kSubscribeFolder, paths::kSubscribeFolderEx};

/* The regular files of a folder. Other nodes are not events, and opening them might block. error: why the
 * folder can't be read. */
std::vector<std::string> file_names(const char *folder, std::error_code &error) {
    std::vector<std::string> names;
    fs::directory_iterator entry(folder, error);
    while (!error && entry != fs::directory_iterator()) {
        std::error_code other;
        if (entry->is_regular_file(other)) {
            names.push_back(entry->path().filename().string());
        }
        entry.increment(error);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void take_name(SubscriptionLine &line, std::vector<std::string> &names) {
    const char *name = line.name();
    if (*name != '\0') {
        names.emplace_back(name);
    }
    line.clear();
}

std::string folder_problem(const std::string &folder, int error) {
    return failure_text("can't read " + folder, folder, error);
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
    SubscriptionLine line;
    for (std::string_view rest = text; !rest.empty();) {
        rest.remove_prefix(line.take(rest));
        take_name(line, names);
    }
    return names;
}

std::vector<EventListeners> read_event_listeners() {
    std::vector<EventListeners> all;
    bool used = true;
    for (const char *folder : kFolders) {
        std::error_code error;
        for (const std::string &event : file_names(folder, error)) {
            all.push_back(read_event(folder, used, event));
        }
        const bool exists = error != std::errc::no_such_file_or_directory;
        if (error && exists) {
            all.push_back({"", folder, used, {}, folder_problem(folder, error.value())});
        }
        used = used && !exists;
    }
    return all;
}
