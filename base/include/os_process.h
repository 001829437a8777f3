/*
 * Shell commands. The text is run by the shell as it stands: the caller quotes what came from outside.
 *
 * Every function may be called from any thread.
 */
#ifndef QUOR_OS_PROCESS_H
#define QUOR_OS_PROCESS_H

#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Runs a command and waits without limit for its end.
 *
 * Returns what system(3) returns: the wait status, or -1 when no process could be started or command is
 * null.
 */
int32_t os_system(const char *command);

/*
 * Starts a command with a pipe to its output ("r") or input ("w").
 *
 * Returns the stream, which is closed on exec and which the caller closes with os_pclose, or null with
 * errno set (EINVAL for a null command or another mode).
 */
FILE *os_popen(const char *command, const char *mode);

/* Closes a stream of os_popen, waits for its command and returns the wait status, or -1. */
int32_t os_pclose(FILE *stream);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
