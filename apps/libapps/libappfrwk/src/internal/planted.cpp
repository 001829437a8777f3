/*
 * Checks owners and link counts; never reads a file.
 */
#include "internal/planted.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "formats/device_paths.h"
#include "internal/frwk_log.h"
#include "os_file.h"
#include "os_time.h"

namespace {

constexpr size_t kPathSize = 512;
constexpr mode_t kRights = 07777;
constexpr char kNotOurs[] = "not ours";

/* Cuts the last part of a path off. Returns false if there is no folder above. */
bool cut_last_part(char *path) {
    char *slash = std::strrchr(path, '/');
    if (slash == nullptr) {
        return false;
    }
    *slash = '\0';
    return true;
}

bool is_owner(const char *folder, uid_t user) {
    struct stat found = {};
    return ::stat(folder, &found) == 0 && found.st_uid == user;
}

/* Whether this user owns the folder of a file, and the one above it if that counts too. */
bool owns_folder_of(const char *path, uid_t user, FolderOwner folder_owner) {
    char folder[kPathSize];
    (void)std::snprintf(folder, sizeof(folder), "%s", path);
    if (!cut_last_part(folder) || !is_owner(folder, user)) {
        return false;
    }
    return folder_owner == FolderOwner::kTrusted || (cut_last_part(folder) && is_owner(folder, user));
}

/* Whether this is root among modules of another user, as an operator's tool may be. */
bool is_modules_user(uid_t user) {
    return ::geteuid() == 0 && is_owner(paths::kTempFolder, user);
}

/* Whether a file belongs to a user who is not trusted with it. */
bool is_foreign(const char *path, uid_t owner, FolderOwner folder_owner) {
    if (is_trusted_owner(owner)) {
        return false;
    }
    if (folder_owner == FolderOwner::kStranger) {
        return true;
    }
    return !owns_folder_of(path, owner, folder_owner) && !is_modules_user(owner);
}

void name_aside(const char *path, char (&aside)[kPathSize]) {
    long seconds = 0;
    long nanoseconds = 0;
    os_uptime(&seconds, &nanoseconds);
    (void)std::snprintf(aside, sizeof(aside), "%s.planted-%ld.%09ld", path, seconds, nanoseconds);
}

/* what: what is wrong with the file. */
bool set_aside(const char *path, const struct stat &found, const char *what) {
    const unsigned owner = found.st_uid;
    const unsigned mode = found.st_mode & kRights;
    char aside[kPathSize];
    name_aside(path, aside);
    if (::rename(path, aside) != 0) {
        char text[kPathSize];
        (void)std::snprintf(text, sizeof(text), "%s is %s (owner %u, mode %04o) and can't be set aside!",
                            path, what, owner, mode);
        FRWK_WARN_ERRNO(__func__, text);
        return false;
    }
    FRWK_WARN(__func__, "%s was %s (owner %u, mode %04o): set aside as %s", path, what, owner, mode, aside);
    return true;
}

}  // namespace

bool is_planted(const char *path, const struct stat &found, FolderOwner folder_owner) {
    if (S_ISREG(found.st_mode) && found.st_nlink > 1) {
        return true;
    }
    return is_foreign(path, found.st_uid, folder_owner);
}

bool exists_as_ours(const char *path) {
    if (os_file_exist(path) == 0) {
        return false;
    }
    struct stat found = {};
    if (::lstat(path, &found) != 0) {
        FRWK_WARN_ERRNO(__func__, "look at the owner of a file error!");
        return errno != ENOENT; /* nobody else can make it fail otherwise */
    }
    const bool foreign = is_foreign(path, found.st_uid, FolderOwner::kTrustedWithParent);
    if (foreign) {
        FRWK_WARN(__func__, "%s is not ours (owner %u, mode %04o): ignored", path, found.st_uid,
                  found.st_mode & kRights);
    }
    return !foreign;
}

bool set_aside_planted(const char *path, FolderOwner folder_owner) {
    struct stat found = {};
    return ::lstat(path, &found) == 0 && is_planted(path, found, folder_owner) &&
           set_aside(path, found, kNotOurs);
}

bool set_aside_misplaced(const char *path, mode_t type) {
    struct stat found = {};
    if (::lstat(path, &found) != 0) {
        return false;
    }
    if (is_planted(path, found, FolderOwner::kTrusted)) {
        return set_aside(path, found, kNotOurs);
    }
    return (found.st_mode & S_IFMT) != type && set_aside(path, found, "of another type");
}

bool set_aside_open(const char *path, int fd, const char *what) {
    struct stat held = {};
    struct stat found = {};
    return ::fstat(fd, &held) == 0 && ::lstat(path, &found) == 0 && held.st_dev == found.st_dev &&
           held.st_ino == found.st_ino && set_aside(path, found, what);
}

bool narrow_rights(int fd, const struct stat &found, mode_t most) {
    const mode_t excess = found.st_mode & kRights & ~most;
    if (excess == 0 || found.st_uid != ::geteuid()) {
        return true;
    }
    return ::fchmod(fd, found.st_mode & most) == 0;
}
