/*
 * Helpers for reading and writing files. They log nothing and leave the cause of a failure in errno. Any
 * thread.
 */
#pragma once

#include <sys/stat.h>

#include <cstddef>

#include "support/unique_fd.h"

namespace file_io {

/*
 * Opens a file for reading, non-blocking: opening a named pipe would otherwise wait for a writer.
 * Returns the descriptor, or -1.
 */
int open_for_reading(const char *path);

/* The same for a name in a folder. Fails with ELOOP if the name is a symbolic link. */
int open_for_reading_in(int folder, const char *name);

/*
 * The same for a regular file; fails with EINVAL for anything else. found: receives the result of fstat.
 * Returns nothing owned, with errno set, on failure.
 */
UniqueFd open_regular(const char *path, struct stat *found);
UniqueFd open_regular_in(int folder, const char *name, struct stat *found);

/* 0 for a regular file; EISDIR for a folder, EINVAL for any other node. */
int kind_error(const struct stat &found);

/* Reads until the buffer is full or the file ends. count: receives the number of bytes read, also on failure.
 */
bool read_up_to(int fd, void *to, size_t room, size_t *count);

/* Writes all bytes; after a failure part of them may have been written. */
bool write_all(int fd, const void *from, size_t size);

enum class Copied {
    kAll,
    kCantRead,
    kCantWrite
};

/* Copies the rest of a file, from its current position. */
Copied copy_rest(int from, int to);

/*
 * Syncs a file or a folder, so that its content or its names survive a power cut. Some file systems don't
 * need that and return EINVAL, which counts as success.
 */
bool sync_where_possible(int fd);

/* Syncs a folder. from, name: the folder, as for openat. */
bool sync_folder(int from, const char *name);

/* The path of the folder that contains a file; "." for a name without a slash. Fails with ENAMETOOLONG. */
bool folder_of(const char *path, char *folder, size_t size);

/* Syncs the folder that contains a file. from, path: the file, as for openat. */
bool sync_folder_of(int from, const char *path);

/* Calls flock; repeats it if a signal interrupts it. */
bool lock(int fd, int operation);

}  // namespace file_io
