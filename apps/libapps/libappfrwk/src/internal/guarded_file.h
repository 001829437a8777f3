/*
 * Opens the device's files so that no other user can choose which file is read or written.
 */
#pragma once

#include <fcntl.h>

#include <cstdio>

#include "internal/planted.h"
#include "support/unique_fd.h"

/* What to do with a file that another user may have planted. */
enum class Planted {
    kRefuse,  /* log it; errno is EPERM */
    kSetAside /* rename it and create a new file; only with O_CREAT */
};

/*
 * Opens a regular file that belongs to this process's user, to root or to a trusted owner of its folder, and
 * is not a symbolic link.
 *
 * path: absolute. flags: those of open(2) except O_CLOEXEC, which is always set; O_TRUNC empties the file
 * after the check. mode: the permissions of a new file, less the umask. With O_CREAT, permissions beyond
 * these are removed from an existing file of this process's user. Owns nothing, with errno set, on failure:
 * ELOOP for a link, EISDIR and EINVAL if it is not a regular file.
 */
UniqueFd open_guarded(const char *path, int flags, mode_t mode, Planted planted,
                      FolderOwner folder_owner = FolderOwner::kTrusted);

/* The same as a stream. stream_mode: the mode for fdopen(3), which must match the flags. */
UniqueFile open_guarded_stream(const char *path, int flags, mode_t mode, Planted planted,
                               const char *stream_mode);
