/*
 * Makes a lock usable in a forked child. The parent's other threads don't exist there, so a lock that one of
 * them held would never be released.
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
 * Makes every fork take kState.mutex first and release it in parent and child, so that the child finds the
 * lock free and the data that it protects consistent. Called once, when the library is loaded. No thread
 * takes two such locks at once, so their order doesn't matter. in_child: releases the lock in the child.
 */
template <auto &kState>
void hold_over_forks(void (*in_child)() = unlock_after_fork<kState>) {
    (void)pthread_atfork(lock_before_fork<kState>, unlock_after_fork<kState>, in_child);
}
