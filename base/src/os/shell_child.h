/*
 * A shell of the process's own that runs a command. It starts as at a login, whatever the module did with
 * its signals: a module ignores and blocks SIGPIPE, and a command that inherited this would print for ever
 * after its reader has left. Any thread.
 */
#pragma once

#include <sys/types.h>

#include <csignal>

/*
 * Starts "/bin/sh -c command" with no signal blocked and every signal at its default, but for SIGINT and
 * SIGQUIT where the caller ignores them, as a command in the background does.
 *
 * fd: what the shell gets as its descriptor standard_fd, or -1.
 * Returns the process, or -1 with errno set when it could not be started.
 */
pid_t start_shell(const char *command, int fd, int standard_fd);

/* Waits for the end of a shell. Returns its wait status, or -1 with errno set when that can't be had. */
int wait_for_shell(pid_t shell);

/*
 * What the process does while a thread waits for a command in the foreground: SIGINT and SIGQUIT are the
 * command's alone, and SIGCHLD stays pending in this thread. Several threads may be at it.
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
