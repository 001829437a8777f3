/*
 * Helpers for reading and writing files. They log nothing and leave the cause of a failure in errno. Any
 * thread.
 */
#pragma once

#include <sys/stat.h>

#include <cstddef>

namespace file_io {

/*
 * Opens a file for reading, non-blocking: opening a named pipe would otherwise wait for a writer.
 * Returns the descriptor, or -1.
 */
int open_for_reading(const char *path);

/* The same for a name in a folder. Fails with ELOOP if the name is a symbolic link. */
int open_for_reading_in(int folder, const char *name);

/* Checks whether fd is a regular file; errno is EINVAL if not. found: receives the result of fstat. */
bool is_regular_file(int fd, struct stat *found);

/* Reads until the buffer is full or the file ends. count: receives the number of bytes read, also on failure.
 */
bool read_up_to(int fd, void *to, size_t room, size_t *count);

/* Writes all bytes; after a failure part of them may have been written. */
bool write_all(int fd, const void *from, size_t size);

/*
 * Syncs a folder, so that the names in it survive a power cut. Some file systems don't need that and return
 * EINVAL, which counts as success. from, name: the folder, as for openat.
 */
bool sync_folder(int from, const char *name);

}  // namespace file_io
