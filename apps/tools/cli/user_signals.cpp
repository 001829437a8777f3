#include "cli/user_signals.h"

#include <poll.h>
#include <pthread.h>

#include <cstdio>
#include <iterator>

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t g_caught = 0;
pthread_t g_watcher;

/* The kernel may deliver the signal to a thread of the library; pass it on to wake the watching thread. */
extern "C" void note_signal(int number) {
    if (::pthread_equal(::pthread_self(), g_watcher) == 0) {
        (void)::pthread_kill(g_watcher, number);
        return;
    }
    g_caught = number;
}

sigset_t all_signals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : kSignals) {
        sigaddset(&set, number);
    }
    return set;
}

}  // namespace

SignalWatch::SignalWatch() : before_(), mask_before_(), mask_waiting_() {
    static_assert(sizeof(before_) / sizeof(before_[0]) == std::size(kSignals));
    g_caught = 0;
    g_watcher = ::pthread_self();
    const sigset_t set = all_signals();
    (void)::pthread_sigmask(SIG_BLOCK, &set, &mask_before_);
    mask_waiting_ = mask_before_;
    struct sigaction noting = {};
    noting.sa_handler = note_signal;
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        (void)::sigaction(kSignals[i], &noting, &before_[i]);
        sigdelset(&mask_waiting_, kSignals[i]);
    }
}

SignalWatch::~SignalWatch() {
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        (void)::sigaction(kSignals[i], &before_[i], nullptr);
    }
    (void)::pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
}

bool SignalWatch::wait(int fd, int milliseconds) const {
    pollfd readable = {fd, POLLIN, 0};
    const timespec limit = {milliseconds / 1000, (milliseconds % 1000) * 1000000L};
    const int ready = ::ppoll(&readable, 1, milliseconds < 0 ? nullptr : &limit, &mask_waiting_);
    return ready > 0 && caught() == 0;
}

int SignalWatch::caught() {
    return g_caught;
}

void end_by_signal(int number) {
    if (number != 0) {
        (void)std::fflush(stdout);
        (void)::raise(number);
    }
}

SignalHold::SignalHold() : before_() {
    const sigset_t set = all_signals();
    (void)::pthread_sigmask(SIG_BLOCK, &set, &before_);
}

SignalHold::~SignalHold() {
    (void)::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

bool SignalHold::waiting() {
    sigset_t pending;
    sigemptyset(&pending);
    (void)::sigpending(&pending);
    for (const int number : kSignals) {
        if (sigismember(&pending, number) == 1) {
            return true;
        }
    }
    return false;
}
