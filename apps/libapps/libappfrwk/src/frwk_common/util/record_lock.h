/*
 * A POSIX record lock on a complete file. It synchronises processes, but not the threads of one process, and
 * it is released as soon as the process closes any descriptor of the file.
 */
#pragma once

#include <cstdio>

#include "support/unique_fd.h"

/* The result of a lock attempt. */
enum class RecordLock {
    kHeld,
    kHeldElsewhere, /* another process has it */
    kFailed         /* see errno */
};

/*
 * Opens a lock file and empties it; creates it if it is missing. Only its owner may open it, since whoever
 * can read it can hold a lock on it. A socket in its place is set aside. Owns nothing, with errno
 * set, on failure.
 */
UniqueFile open_lock_file(const char *path);

/* Tries to take the write lock of a file, without waiting. */
RecordLock lock_whole_file(std::FILE *file);

/*
 * Sets a lock file aside if somebody holds a read lock on it. No module does: they take write locks. It is
 * another user who opened the file while everybody could read it, as files of earlier versions, and who could
 * hold the lock without limit. While a module has the file locked, nobody can hold a read lock on it.
 *
 * file: the open lock file. Returns true if the path is free for a new file.
 */
bool set_aside_read_locked(const char *path, std::FILE *file);
