/*
 * Handles SIGINT (Ctrl-C), SIGTERM and SIGHUP so that a tool can clean up: watches for them, or blocks them
 * for a moment. For the main thread. A signal that another thread receives is passed on to the watching
 * thread; blocking works only before there are other threads.
 */
#pragma once

#include <csignal>

/* While the object exists, signals are recorded during a wait and blocked otherwise. One object at a time. */
class SignalWatch {
  public:
    SignalWatch();

    /* Restores the signals. */
    ~SignalWatch();

    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

    /*
     * Waits until a descriptor can be read, a signal has arrived, or the time is over.
     *
     * fd: -1 for none. milliseconds: below 0 for no limit.
     * Returns true if the descriptor can be read and no signal has arrived.
     */
    bool wait(int fd, int milliseconds) const;

    /* The signal that arrived, or 0. */
    static int caught();

  private:
    struct sigaction before_[3];
    sigset_t mask_before_;
    sigset_t mask_waiting_;
};

/* Raises a caught signal with its default action, which ends the process. number: 0 for none. */
void end_by_signal(int number);

/* Blocks the signals while the object exists. */
class SignalHold {
  public:
    SignalHold();
    ~SignalHold();
    SignalHold(const SignalHold &) = delete;
    SignalHold &operator=(const SignalHold &) = delete;

    /* Whether a signal is pending. */
    static bool waiting();

  private:
    sigset_t before_;
};
