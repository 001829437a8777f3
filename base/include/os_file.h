/*
 * Questions about files. Every function may be called from any thread.
 */
#ifndef QUOR_OS_FILE_H
#define QUOR_OS_FILE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Returns 1 when path names a file, folder or any other node, else 0. path: null gives 0. */
int32_t os_file_exist(const char *path);

/* Returns the size in bytes of the file at path; 0 when it is empty, missing, null or no regular file. */
uint64_t os_file_size(const char *path);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
