/*
 * Reads and writes values in small files, such as sysfs nodes and flags, and reads values that a command
 * prints.
 *
 * Any thread may call these functions. They take no lock: callers that share a file must synchronise.
 */
#ifndef QUOR_FRWK_COMMON_EX_H
#define QUOR_FRWK_COMMON_EX_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Replaces a file's content. A missing file is created with mode 0666 less the umask.
 *
 * data, length: the new content and its length in bytes.
 * Returns 0, or -1 if the file can't be opened or accepts less than length bytes.
 */
int32_t frwk_set_file_value(const char *path, const void *data, int32_t length);

/*
 * Reads the beginning of a file, which must be readable and writable.
 *
 * buffer: receives up to length bytes, no terminator added.
 * Returns 0 if at least one byte was read, else -1.
 */
int32_t frwk_get_file_value(const char *path, void *buffer, int32_t length);

/*
 * Calls frwk_set_file_value every 500 ms until it succeeds, at most 11 times.
 *
 * Returns the last attempt's result; -1 at once for a null path or data, or a length below 1.
 */
int32_t frwk_set_file_value_ex(const char *path, const void *data, int32_t length);

/* Calls frwk_get_file_value in the same way. */
int32_t frwk_get_file_value_ex(const char *path, void *buffer, int32_t length);

/*
 * Runs a command every 500 ms until it prints something, at most 11 times, and reads its output.
 *
 * command: run by the shell, unchanged.
 * buffer: zeroed by the caller; receives at most size bytes, no terminator added.
 * Returns 0 if the buffer's first byte is not 0 after an attempt, else -1; -1 at once for a null
 * argument or a size below 1.
 */
int32_t frwk_get_popen_value_ex(const char *command, char *buffer, int32_t size);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
