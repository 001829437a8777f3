/*
 * Detects files and folders that another user may have planted in the place of the device's own, while a
 * folder was writable for everybody.
 *
 * Another user is neither this process's user nor root. A regular file with a second hard link counts as
 * planted too: somebody may have linked another file there so that it is overwritten.
 */
#pragma once

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

/*
 * Whether to trust files of the folder's owner, who could replace every file in the folder anyway. Where they
 * are trusted, root also trusts the owner of /tmp/m_tmp, as whom the modules run: root's tools work there
 * too.
 */
enum class FolderOwner {
    kTrusted,
    kTrustedWithParent, /* if the folder above it is theirs too: otherwise the folder may be planted itself */
    kStranger
};

/* Whether a user is this process's, or root. */
inline bool is_trusted_owner(uid_t user) {
    return user == 0 || user == ::geteuid();
}

/*
 * Whether another user may have planted the file at a path.
 *
 * path: absolute. found: the result of lstat(2) or fstat(2).
 */
bool is_planted(const char *path, const struct stat &found, FolderOwner folder_owner);

/*
 * Whether there is something at a path that belongs to this process's user, to root, or to the owner of its
 * folder and of the one above. What belongs to another user is logged.
 *
 * path: absolute. A link counts if it leads somewhere, and as its own owner's.
 */
bool exists_as_ours(const char *path);

/*
 * Renames a planted file to NAME.planted-UPTIME, for a later inspection, and logs that. Returns true if it
 * was renamed; false if the file is not planted, or can't be renamed, which is logged.
 */
bool set_aside_planted(const char *path, FolderOwner folder_owner);

/*
 * The same for whatever is planted, or is not of this type, whoever it belongs to: while a folder was open,
 * other users could rename the device's own files in it.
 *
 * type: S_IFREG, S_IFDIR or S_IFSOCK.
 */
bool set_aside_misplaced(const char *path, mode_t type);

/*
 * Renames an open file in the same way, whoever it belongs to, unless another one has taken its path.
 *
 * what: what is wrong with it, for the log.
 */
bool set_aside_open(const char *path, int fd, const char *what);

/*
 * Removes permissions beyond the given ones from an open file of this process's user; ignores files of other
 * users. Returns false, with errno set, on failure.
 */
bool narrow_rights(int fd, const struct stat &found, mode_t most);
