/*
 * Shell commands. The text is run by the shell as it stands: the caller quotes what came from outside.
 *
 * A command starts with no signal blocked and every signal at its default, whatever the module ignores, but
 * for SIGINT and SIGQUIT, which it ignores where the module does. So a command whose reader has gone ends.
 * While a module ignores SIGCHLD, the system keeps no wait status: where one is due, the functions wait for
 * the command's end all the same and return -1 with errno ECHILD.
 *
 * A command starts in the working folder and with the environment of the process, but for two things that
 * could give other users its rights. Of PATH it gets the absolute folders in which nobody but root and the
 * process's own user can put anything, or "/usr/sbin:/usr/bin:/sbin:/bin" where there is none. And its umask
 * keeps group and others from writing to what it makes; where the process's umask doesn't, a second shell
 * sets it before it becomes the command's.
 *
 * Every function may be called from any thread, and in a forked child, but not for a stream of its parent.
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
 * Runs a command and waits without limit for its end; SIGINT and SIGQUIT are the command's alone meanwhile.
 *
 * Returns what system(3) returns: the wait status, that of "exit 127" when there is no shell, or -1 with
 * errno set when no process could be started, its status can't be had, or command is null.
 */
int32_t os_system(const char *command);

/*
 * Starts a command with a pipe to its output ("r") or input ("w").
 *
 * Returns the stream, which is closed on exec and which the caller closes with os_pclose and nothing else,
 * or null with errno set (EINVAL for a null command or another mode).
 */
FILE *os_popen(const char *command, const char *mode);

/*
 * Closes a stream of os_popen and waits without limit for its command.
 *
 * Returns the wait status, or -1 with errno set: EINVAL for null; ECHILD for a stream of another origin,
 * which is closed as well, and where the status can't be had.
 */
int32_t os_pclose(FILE *stream);

/* Bytes of the largest file that a command in a scope can write: 16 MiB. */
#define OS_COMMAND_FILE_MAX 16777216

/*
 * Opens a scope for the calling thread: whatever its commands leave running, in the background or detached,
 * can be ended with os_command_scope_close, and ends by itself when the thread ends or the process is killed.
 * A file that they write ends at OS_COMMAND_FILE_MAX bytes, and so does who writes it, by SIGXFSZ. Not
 * nested: a second opening begins afresh.
 *
 * From its first command on the thread has one more child process, until the scope is closed.
 */
void os_command_scope_open(void);

/*
 * Ends the scope and kills every process that a command of it left running. Commands of other threads and
 * of other times are not touched; neither is a process that clears its environment. Without a scope nothing
 * happens. Waits until the killed processes are gone, a second at most.
 *
 * Returns 0, or -1 when a process was still there then.
 */
int32_t os_command_scope_close(void);

/*
 * Whether the commands of the calling thread answer untranslated, for a reader that looks for fixed words: as
 * long as it is on, they have LC_ALL=C in their environment, whatever the module's environment says. It is
 * off at first.
 *
 * Returns what it was before, 1 for on, to be set again afterwards.
 */
int32_t os_command_untranslated(int32_t on);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
