#include "device/access_words.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "cli/complaint.h"

namespace {

std::string owner_name(uid_t user) {
    // cppcheck-suppress getpwuidCalled ; only the main thread calls it
    const passwd *entry = ::getpwuid(user);  // NOLINT(concurrency-mt-unsafe): only the main thread calls it
    return entry != nullptr ? entry->pw_name : std::to_string(user);
}

bool allows(const std::string &path, int mode) {
    return ::faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

std::string folder_of(const std::string &path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

/* The nearest folder above a path that exists. */
std::string present_folder(const std::string &path) {
    std::string folder = folder_of(path);
    while (::access(folder.c_str(), F_OK) != 0 && errno == ENOENT) {
        folder = folder_of(folder);
    }
    return folder;
}

/* The first folder above a path that this process may not search, or else "". */
std::string closed_folder(const std::string &path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        std::string folder = path.substr(0, slash);
        if (!allows(folder, X_OK) && errno == EACCES) {
            return folder;
        }
    }
    return "";
}

/* What is closed: a folder on the way, the folder of a file to be created, or the file itself. */
std::string closed_place(const std::string &path, Access access) {
    std::string folder = closed_folder(path);
    if (!folder.empty()) {
        return folder;
    }
    return access == Access::kCreate && !allows(present_folder(path), W_OK) ? present_folder(path) : path;
}

/* The command that would help: as the owner, or, for the owner, another mode. */
std::string helping_command(const std::string &path, uid_t owner) {
    const std::string tool = program_invocation_short_name;
    if (owner == ::geteuid()) {
        return "chmod u+rwX " + path;
    }
    return owner == 0 ? "sudo " + tool : "sudo -u " + owner_name(owner) + " " + tool;
}

}  // namespace

std::string access_words(const std::string &path, Access access) {
    const std::string closed = closed_place(path, access);
    struct stat info = {};
    if (::stat(closed.c_str(), &info) != 0) {
        return "no access to " + closed;
    }
    char mode[16];
    (void)std::snprintf(mode, sizeof(mode), "%04o", static_cast<unsigned>(info.st_mode & 07777));
    return "no access to " + closed + " (owner " + owner_name(info.st_uid) + ", mode " + mode + "; try '" +
           helping_command(closed, info.st_uid) + "')";
}

std::string creation_problem(const std::string &path) {
    const bool is_closed = !closed_folder(path).empty() || !allows(present_folder(path), W_OK | X_OK);
    return is_closed && errno == EACCES ? access_words(path, Access::kCreate) : "";
}

std::string write_problem(const std::string &path) {
    const bool is_missing = ::access(path.c_str(), F_OK) != 0;
    return is_missing ? creation_problem(path) : allows(path, W_OK) ? "" : access_words(path);
}

std::string failure_text(const std::string &what, const std::string &path, int error, Access access) {
    return error == EACCES ? what + ": " + access_words(path, access) : errno_text(what, error);
}
