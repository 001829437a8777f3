/*
 * Opening the device's files so that nobody else decides what is read, or what is written to.
 */
#pragma once

#include <fcntl.h>

#include <cstdio>

#include "support/unique_fd.h"

/* What to do with what another user may have put in a file's place. */
enum class Planted {
    kRefuse,  /* with a line in the log; errno is EPERM */
    kSetAside /* it gets another name, and a new file is made; only with O_CREAT */
};

/*
 * Opens a regular file that belongs to this process's user, to root or to the owner of its folder, and is no
 * symbolic link.
 *
 * path: absolute. flags: those of open(2) beside O_CLOEXEC; O_TRUNC empties the file once it is known to be
 * right. mode: the rights of a new file, less the umask. With O_CREAT a file of this process's user keeps no
 * others. Returns nothing owned, with errno set, when that fails: ELOOP for a link, EISDIR and EINVAL for
 * what is no file.
 */
UniqueFd open_guarded(const char *path, int flags, mode_t mode, Planted planted);

/* The same as a stream. stream_mode: that of fdopen(3) which the flags stand for. */
UniqueFile open_guarded_stream(const char *path, int flags, mode_t mode, Planted planted,
                               const char *stream_mode);
