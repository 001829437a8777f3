/*
 * What another user may have put in the place of one of the device's files or folders while a folder was open
 * to all.
 *
 * Another user is neither this process's nor root. A regular file with a second name counts too: it may be
 * anybody's, linked there so that it is written to.
 */
#pragma once

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

/* Whether the owner of a folder may own what lies in it: the owner could replace it at any time anyway. */
enum class FolderOwner {
    kTrusted,
    kStranger
};

/* Whether a user is this process's, or root. */
inline bool is_trusted_owner(uid_t user) {
    return user == 0 || user == ::geteuid();
}

/*
 * Whether another user may have put there what is at a path.
 *
 * path: absolute. found: what is there, by lstat(2) or fstat(2).
 */
bool is_planted(const char *path, const struct stat &found, FolderOwner folder_owner);

/*
 * Renames what another user may have put there to NAME.planted-UPTIME, for whoever looks into it, and says so
 * in the log. Returns whether the path is free now; false when there was nothing of the kind, and when it
 * can't be renamed, which is logged.
 */
bool set_aside_planted(const char *path, FolderOwner folder_owner);

/*
 * Takes the access rights beyond the given ones from an open file of this process's user; others' stay as
 * they are. Returns false, with errno set, when that fails.
 */
bool narrow_rights(int fd, const struct stat &found, mode_t most);
