/*
 * A child process that runs a shell command. It starts with default signals, whatever signals the module
 * ignores or blocks: a module ignores SIGPIPE, and a command that inherited this would not end when its
 * reader closes the pipe. Any thread.
 */
#pragma once

#include <sys/types.h>

#include <csignal>

/*
 * Starts "/bin/sh -c command" with no signal blocked and every signal at its default action. SIGINT and
 * SIGQUIT stay ignored if the caller ignores them, as in a background command.
 *
 * fd: becomes the shell's descriptor standard_fd; -1 for none.
 * Returns the process id, or -1 with errno set if it could not be started.
 */
pid_t start_shell(const char *command, int fd, int standard_fd);

/* Waits for the end of a shell. Returns its wait status, or -1 with errno set if that is not available. */
int wait_for_shell(pid_t shell);

/*
 * The signal state while a thread waits for a foreground command: the process ignores SIGINT and SIGQUIT, and
 * SIGCHLD is blocked in this thread. Several threads may wait at the same time.
 */
class ForegroundWait {
  public:
    ForegroundWait();
    ~ForegroundWait();
    ForegroundWait(const ForegroundWait &) = delete;
    ForegroundWait &operator=(const ForegroundWait &) = delete;

  private:
    sigset_t mask_before_;
};
