/*
 * Queries of files. Every function may be called from any thread.
 */
#ifndef QUOR_OS_FILE_H
#define QUOR_OS_FILE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Returns 1 if path exists, whatever its type, else 0. path: null gives 0. */
int32_t os_file_exist(const char *path);

/* Returns the size of a file in bytes; 0 if it is empty, missing or not a regular file, or path is null. */
uint64_t os_file_size(const char *path);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
