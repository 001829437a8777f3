/*
 * Values in small files, such as sysfs nodes and flags, and values that a command prints.
 *
 * The calls may be made from any thread. They take no lock: callers that share a file serialise.
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
 * data, length: written as they are; length is in bytes.
 * Returns 0, or -1 when the file can't be opened or takes less than length bytes.
 */
int32_t frwk_set_file_value(const char *path, const void *data, int32_t length);

/*
 * Reads the beginning of a file, which must be readable and writable.
 *
 * buffer: receives up to length bytes, no terminator added.
 * Returns 0 when at least one byte was read, else -1.
 */
int32_t frwk_get_file_value(const char *path, void *buffer, int32_t length);

/*
 * frwk_set_file_value, repeated every 500 ms until it succeeds, 11 times at most.
 *
 * Returns the last attempt's result; -1 at once for a null path or data, or a length below 1.
 */
int32_t frwk_set_file_value_ex(const char *path, const void *data, int32_t length);

/* frwk_get_file_value, repeated as frwk_set_file_value_ex. */
int32_t frwk_get_file_value_ex(const char *path, void *buffer, int32_t length);

/*
 * Reads what a command prints, repeated every 500 ms until it prints something, 11 times at most.
 *
 * command: run by the shell as it stands.
 * buffer: zeroed by the caller; receives at most size bytes, no terminator added.
 * Returns 0 when the buffer's first byte is not 0 after an attempt, else -1; -1 at once for a null
 * argument or a size below 1.
 */
int32_t frwk_get_popen_value_ex(const char *command, char *buffer, int32_t size);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
