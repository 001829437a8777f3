#include "model/disk_shadow.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace model {

namespace {

namespace fs = std::filesystem;

const std::string kSafe = "/tmp/model/safe/";

/* A folder comes after the one that it is in. Those above them are never lost. */
constexpr const char *kFolders[] = {"/m_data/usr", "/m_data/usr/db", "/m_data/usr_permanent",
                                    "/m_data/usr_permanent/db", "/m_data/factor"};

using Names = std::map<std::string, uint64_t>; /* the number of a file or folder by its name */

std::string text_of(const std::string &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/* In one step: the service on trial may be killed while it notes something. */
void note(uint64_t number, const std::string &text) {
    const std::string path = kSafe + std::to_string(number);
    const std::string part = path + ".part" + std::to_string(::getpid());
    std::ofstream(part, std::ios::binary) << text;
    (void)std::rename(part.c_str(), path.c_str());
}

uint64_t number_of(const std::string &path) {
    struct stat found = {};
    return ::lstat(path.c_str(), &found) == 0 ? found.st_ino : 0;
}

Names names_in(const std::string &folder) {
    Names names;
    std::error_code missing;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder, missing)) {
        names[entry.path().filename()] = number_of(entry.path());
    }
    return names;
}

std::string text_of(const Names &names) {
    std::ostringstream text;
    for (const auto &[name, number] : names) {
        text << number << ' ' << name << '\n';
    }
    return text.str();
}

Names names_of(const std::string &text) {
    Names names;
    std::istringstream lines(text);
    uint64_t number = 0;
    std::string name;
    while (lines >> number && lines.ignore() && std::getline(lines, name)) {
        names[name] = number;
    }
    return names;
}

void note_path(const std::string &path) {
    std::error_code missing;
    const bool is_folder = fs::is_directory(path, missing);
    note(number_of(path), is_folder ? text_of(names_in(path)) : text_of(path));
}

/* The content of a file that has these safe bytes, or none. */
std::string safe_text(uint64_t number) {
    return text_of(kSafe + std::to_string(number));
}

/* What a folder has afterwards: the bytes of its files by their names; no folders, which go by themselves. */
std::map<std::string, std::string> left_of(const std::string &folder, Unsynced unsynced) {
    const Names names =
        unsynced == Unsynced::kLost ? names_of(safe_text(number_of(folder))) : names_in(folder);
    std::map<std::string, std::string> left;
    for (const auto &[name, number] : names) {
        std::error_code missing;
        if (!fs::is_directory(folder + "/" + name, missing)) {
            left[name] = safe_text(number);
        }
    }
    return left;
}

bool is_safe(const std::string &folder) {
    const fs::path path(folder);
    if (path.parent_path() == "/m_data") {
        return true;
    }
    const Names names = names_of(safe_text(number_of(path.parent_path())));
    const auto found = names.find(path.filename());
    return found != names.end() && found->second == number_of(folder);
}

void leave(const std::string &folder, Unsynced unsynced) {
    std::error_code failed;
    if (!fs::exists(folder, failed)) {
        return;
    }
    if (unsynced == Unsynced::kLost && !is_safe(folder)) {
        fs::remove_all(folder, failed);
        return;
    }
    const std::map<std::string, std::string> left = left_of(folder, unsynced);
    for (const auto &[name, number] : names_in(folder)) {
        if (!fs::is_directory(folder + "/" + name, failed)) {
            fs::remove(folder + "/" + name, failed);
        }
    }
    for (const auto &[name, text] : left) {
        std::ofstream(folder + "/" + name, std::ios::binary) << text;
    }
}

}  // namespace

void note_synced(int fd) {
    char path[PATH_MAX] = "";
    const std::string name = "/proc/self/fd/" + std::to_string(fd);
    /* Another file system may have the same numbers. */
    if (::readlink(name.c_str(), path, sizeof(path) - 1) > 0 && std::string(path).rfind("/m_data", 0) == 0) {
        note_path(path);
    }
}

void begin_shadow() {
    std::error_code failed;
    fs::remove_all(kSafe, failed);
    fs::create_directories(kSafe, failed);
    for (const char *folder : kFolders) {
        if (fs::exists(folder, failed)) {
            note_path(folder);
            for (const auto &[file, number] : names_in(folder)) {
                note_path(std::string(folder) + "/" + file);
            }
        }
    }
}

std::optional<std::string> settled_text(const std::string &path) {
    const fs::path file(path);
    const Names safe = names_of(safe_text(number_of(file.parent_path())));
    const auto found = safe.find(file.filename());
    const uint64_t number = number_of(path);
    const std::string text = text_of(path);
    const bool is_settled =
        (found != safe.end() ? found->second : 0) == number && (number == 0 || text == safe_text(number));
    return is_settled ? std::optional<std::string>(text) : std::nullopt;
}

void leave_after_power_cut(Unsynced unsynced) {
    if (unsynced != Unsynced::kThere) {
        for (const char *folder : kFolders) {
            leave(folder, unsynced);
        }
    }
    begin_shadow();
}

}  // namespace model
