/*
 * A POSIX record lock on a whole file: it keeps processes apart, never the threads of one process, and it is
 * lost as soon as the process closes any descriptor of the file.
 */
#pragma once

#include <cstdio>

/* What became of the wish for a lock. */
enum class RecordLock {
    kHeld,
    kHeldElsewhere, /* another process has it */
    kFailed         /* errno tells why */
};

/* Asks for the write lock of a file, without waiting. */
RecordLock lock_whole_file(std::FILE *file);
