/*
 * A POSIX record lock on a whole file: it keeps processes apart, never the threads of one process, and it is
 * lost as soon as the process closes any descriptor of the file.
 */
#pragma once

#include <cstdio>

#include "support/unique_fd.h"

/* What became of the wish for a lock. */
enum class RecordLock {
    kHeld,
    kHeldElsewhere, /* another process has it */
    kFailed         /* errno tells why */
};

/*
 * Opens a lock file and empties it; makes it where it is missing. Only its owner may open it, since whoever
 * can read it can hold a lock on it. Returns nothing owned, with errno set, when that fails.
 */
UniqueFile open_lock_file(const char *path);

/* Asks for the write lock of a file, without waiting. */
RecordLock lock_whole_file(std::FILE *file);
