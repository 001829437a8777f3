/*
 * Prints the changes of settings as they come, each as a line: its store, its kind, and KEY=VALUE.
 *
 * The watcher calls print on a thread of its own; the main thread waits.
 */
#pragma once

#include <mutex>

#include "cli/exit_code.h"
#include "cli/user_signals.h"
#include "zndb_ext.h"

class ChangeOutput {
  public:
    ChangeOutput();
    ~ChangeOutput();
    ChangeOutput(const ChangeOutput &) = delete;
    ChangeOutput &operator=(const ChangeOutput &) = delete;

    /* A zndb_watch_handler; output: the object. Prints nothing after the output has failed. */
    static void print(const zndb_change *change, void *output);

    /* Waits for Ctrl-C, or until the output fails. kDone, also if its reader has left; otherwise kRefused. */
    ExitCode wait(const SignalWatch &watch);

  private:
    int error();

    const int wake_;
    std::mutex mutex_;
    int error_ = 0; /* mutex_ */
};
