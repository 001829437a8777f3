/*
 * Shell commands. The shell runs the text unchanged: the caller must quote text from outside.
 *
 * A command starts with no signal blocked and every signal at its default action, except that it ignores
 * SIGINT and SIGQUIT if the module does. So SIGPIPE ends a command whose reader has closed the pipe.
 * While a module ignores SIGCHLD, the system keeps no wait status: the functions that return one still wait
 * for the command's end, and return -1 with errno ECHILD.
 *
 * A command inherits the working folder and the environment of the process, except that PATH and umask are
 * made safe against other users. PATH contains only the absolute folders that no other user except root can
 * write to, or "/usr/sbin:/usr/bin:/sbin:/bin" if none is left. The umask denies write permission to group
 * and others; if the umask of the process doesn't, a second shell sets it before it runs the command.
 *
 * Every function may be called from any thread, and in a forked child, but there not with a stream of the
 * parent.
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
 * Runs a command and waits without limit for its end; meanwhile the process ignores SIGINT and SIGQUIT.
 *
 * Returns the same as system(3): the wait status, that of "exit 127" if there is no shell, or -1 with
 * errno set if no process could be started, its status is not available, or command is null.
 */
int32_t os_system(const char *command);

/*
 * Starts a command with a pipe to its output ("r") or input ("w").
 *
 * Returns the stream, which is closed on exec and which the caller must close with os_pclose,
 * or null with errno set (EINVAL for a null command or another mode).
 */
FILE *os_popen(const char *command, const char *mode);

/*
 * Closes a stream of os_popen and waits without limit for its command.
 *
 * Returns the wait status, or -1 with errno set: EINVAL for null; ECHILD for a stream that is not from
 * os_popen, which is closed too, and if the status is not available.
 */
int32_t os_pclose(FILE *stream);

/* The largest file that a command in a scope can write, in bytes: 16 MiB. */
#define OS_COMMAND_FILE_MAX 16777216

/*
 * Opens a scope for the commands of the calling thread. Processes that they leave running, in the background
 * or detached, are killed by os_command_scope_close, and also when the thread ends or the process is killed.
 * A process that writes more than OS_COMMAND_FILE_MAX bytes to a file is ended by SIGXFSZ. Scopes don't nest:
 * a second call starts a new one.
 *
 * From the first command until the scope is closed, the thread has an additional child process.
 */
void os_command_scope_open(void);

/*
 * Closes the scope and kills every process that its commands left running. Other commands are not affected,
 * nor is a process that clears its environment. Does nothing without a scope. Waits until the killed
 * processes are gone, at most one second.
 *
 * Returns 0, or -1 if a process still exists after that.
 */
int32_t os_command_scope_close(void);

/*
 * Turns untranslated output of the calling thread's commands on or off, for callers that look for fixed
 * words: while it is on, the commands run with LC_ALL=C, whatever the module's environment. It is initially
 * off.
 *
 * Returns the previous setting, 1 for on, so that the caller can restore it.
 */
int32_t os_command_untranslated(int32_t on);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
