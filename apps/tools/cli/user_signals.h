/*
 * Ctrl-C and the other ways in which somebody ends a tool (SIGINT, SIGTERM, SIGHUP): noticed instead of
 * fatal, or held back for a moment, so that nothing is left behind. For the main thread. A signal that
 * another thread gets is passed on to the one that watches; holding back works only before there are other
 * threads.
 */
#pragma once

#include <csignal>

/* While it lives, the signals are noted while it waits, and held back else. One at a time. */
class SignalWatch {
  public:
    SignalWatch();

    /* The signals do again what they did. */
    ~SignalWatch();

    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

    /*
     * Waits until a descriptor can be read, a signal has come, or the time is up.
     *
     * fd: -1 for none. milliseconds: below 0 for no limit.
     * Returns true when the descriptor can be read and no signal has come.
     */
    bool wait(int fd, int milliseconds) const;

    /* The signal that came, or 0. */
    static int caught();

  private:
    struct sigaction before_[3];
    sigset_t mask_before_;
    sigset_t mask_waiting_;
};

/* Has a signal that was caught take its usual effect, which ends the process. number: 0 for none. */
void end_by_signal(int number);

/* While it lives, the signals wait; at its end they take effect. */
class SignalHold {
  public:
    SignalHold();
    ~SignalHold();
    SignalHold(const SignalHold &) = delete;
    SignalHold &operator=(const SignalHold &) = delete;

    /* Whether one waits. */
    static bool waiting();

  private:
    sigset_t before_;
};
