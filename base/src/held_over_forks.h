/*
 * Keeps a forked child from a lock that nobody would ever release: it has none of its parent's other threads.
 */
#pragma once

#include <pthread.h>

template <auto &kState>
void lock_before_fork() {
    kState.mutex.lock();
}

template <auto &kState>
void unlock_after_fork() {
    kState.mutex.unlock();
}

/*
 * The thread that forks holds kState.mutex meanwhile, so that the child gets it, and what it guards, whole.
 * Called once, when the library is loaded. While somebody holds such a lock nobody takes another one, so
 * their order doesn't matter. in_child: releases the lock there.
 */
template <auto &kState>
void hold_over_forks(void (*in_child)() = unlock_after_fork<kState>) {
    (void)pthread_atfork(lock_before_fork<kState>, unlock_after_fork<kState>, in_child);
}
