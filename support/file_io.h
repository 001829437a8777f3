/*
 * The steps of reading and writing a file that several files of this library take. They log nothing and
 * leave the cause of a failure in errno. Any thread.
 */
#pragma once

#include <sys/stat.h>

#include <cstddef>

namespace file_io {

/*
 * Opens a file for reading, without waiting: a named pipe would hold the caller until somebody writes to it.
 * Returns the descriptor, or -1.
 */
int open_for_reading(const char *path);

/* The same for a name in a folder. A symbolic link of that name is not followed: ELOOP. */
int open_for_reading_in(int folder, const char *name);

/* Tells whether fd is a regular file; EINVAL when it is none. found: what the system knows of it. */
bool is_regular_file(int fd, struct stat *found);

/* Reads until there is no more room or the file ends. count: receives the bytes read, on failure too. */
bool read_up_to(int fd, void *to, size_t room, size_t *count);

/* Writes all bytes; on failure any part of them may have been written. */
bool write_all(int fd, const void *from, size_t size);

/*
 * Makes the names in a folder outlast a power cut. Some file systems keep them safe by themselves and refuse
 * with EINVAL, which is no failure. name: of the folder, looked up as openat does.
 */
bool sync_folder(int from, const char *name);

}  // namespace file_io
