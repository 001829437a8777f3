#include "model/damage.h"

#include <filesystem>
#include <string>

#include "formats/device_paths.h"
#include "support/wait_until.h"

namespace model {

namespace {

constexpr const char *kJournals[] = {paths::kPlainJournal, paths::kPermJournal, paths::kFactoryJournal};
constexpr const char *kFiles[] = {paths::kPlainFile, paths::kPermFile, paths::kFactoryFile};
constexpr uint32_t kWays = 5;

/* The begin of the line in which a byte is. */
size_t line_at(const std::string &text, size_t at) {
    const size_t end = at > 0 ? text.rfind('\n', at - 1) : std::string::npos;
    return end != std::string::npos ? end + 1 : 0;
}

}  // namespace

void damage_journal(Store store, uint32_t kind) {
    const char *path = kJournals[static_cast<size_t>(store)];
    std::string text = file_text(path);
    const size_t at = text.empty() ? 0 : (kind / kWays * 7919) % text.size();
    switch (kind % kWays) {
        case 0:
            text += "garbage without a line end";
            break;
        case 1:
            text += std::string("\0\xff garbage\n", 11) + "Q+key=value\nP\n";
            break;
        case 2:
            text.resize(at); /* cut anywhere */
            break;
        case 3:
            text.replace(line_at(text, at), text.empty() ? 0 : 1, "?");
            break;
        default:
            text.insert(line_at(text, at), "?\n");
            break;
    }
    (void)write_text(path, text);
}

std::string damage_settings(Store store, uint32_t kind) {
    const char *path = kFiles[static_cast<size_t>(store)];
    std::string text = file_text(path);
    if (text.empty()) {
        return text;
    }
    const size_t line = line_at(text, kind / 2 * 7919 % text.size());
    if (kind % 2 == 0) {
        text.insert(line, "?\n");
    } else {
        text = text.substr(0, line) + "cut";
    }
    (void)write_text(path, text);
    return text;
}

bool is_kept(Store store, const std::string &text) {
    const std::filesystem::path path = kFiles[static_cast<size_t>(store)];
    for (const auto &entry : std::filesystem::directory_iterator(path.parent_path())) {
        if (file_text(entry.path()) == text) {
            return true;
        }
    }
    return false;
}

}  // namespace model
