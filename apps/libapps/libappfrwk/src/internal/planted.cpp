/*
 * Checks owners and link counts; never reads a file.
 */
#include "internal/planted.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "internal/frwk_log.h"
#include "os_time.h"

namespace {

constexpr size_t kPathSize = 512;
constexpr mode_t kRights = 07777;

bool owns_folder_of(const char *path, uid_t user) {
    char folder[kPathSize] = "";
    const char *slash = std::strrchr(path, '/');
    if (slash != nullptr) {
        (void)std::snprintf(folder, sizeof(folder), "%.*s", static_cast<int>(slash - path), path);
    }
    struct stat found = {};
    return ::stat(folder, &found) == 0 && found.st_uid == user;
}

void name_aside(const char *path, char (&aside)[kPathSize]) {
    long seconds = 0;
    long nanoseconds = 0;
    os_uptime(&seconds, &nanoseconds);
    (void)std::snprintf(aside, sizeof(aside), "%s.planted-%ld.%09ld", path, seconds, nanoseconds);
}

}  // namespace

bool is_planted(const char *path, const struct stat &found, FolderOwner folder_owner) {
    if (S_ISREG(found.st_mode) && found.st_nlink > 1) {
        return true;
    }
    if (is_trusted_owner(found.st_uid)) {
        return false;
    }
    return folder_owner == FolderOwner::kStranger || !owns_folder_of(path, found.st_uid);
}

bool set_aside_planted(const char *path, FolderOwner folder_owner) {
    struct stat found = {};
    if (::lstat(path, &found) != 0 || !is_planted(path, found, folder_owner)) {
        return false;
    }

    const unsigned owner = found.st_uid;
    const unsigned mode = found.st_mode & kRights;
    char aside[kPathSize];
    name_aside(path, aside);
    if (::rename(path, aside) != 0) {
        char text[kPathSize];
        (void)std::snprintf(text, sizeof(text),
                            "%s is not ours (owner %u, mode %04o) and can't be set aside!", path, owner,
                            mode);
        FRWK_WARN_ERRNO(__func__, text);
        return false;
    }
    FRWK_WARN(__func__, "%s was not ours (owner %u, mode %04o): set aside as %s", path, owner, mode, aside);
    return true;
}

bool narrow_rights(int fd, const struct stat &found, mode_t most) {
    const mode_t excess = found.st_mode & kRights & ~most;
    if (excess == 0 || found.st_uid != ::geteuid()) {
        return true;
    }
    return ::fchmod(fd, found.st_mode & most) == 0;
}
