/*
 * Threads, mutexes and counting semaphores.
 *
 * Every function may be called from any thread. A forked child must not use mutexes and semaphores of its
 * parent: the parent's threads, which don't exist in the child, may hold them. Results are 0 on success and
 * an errno value otherwise, unless said differently; a null mutex, semaphore, thread or entry gives EINVAL.
 */
#ifndef QUOR_OS_THREAD_H
#define QUOR_OS_THREAD_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* A thread's handle; 0 means no thread. */
typedef unsigned long os_thread_t;

/* Thread attributes. */
typedef struct os_thread_attr {
    uint32_t detached;   /* 1 = detached, 0 = must be joined */
    uint32_t stack_size; /* bytes, 0 = the system's default */
} os_thread_attr;

typedef void *(*os_thread_entry)(void *argument);

/* Fills attr with the defaults: a detached thread with the system's stack size. attr: not null. */
int32_t os_thread_attr_init(os_thread_attr *attr);

/*
 * Starts a thread.
 *
 * thread: receives the handle; unchanged on failure.
 * attr: read during the call only; null means the defaults.
 * entry, argument: the thread calls entry(argument).
 * Returns 0, or an errno value (EAGAIN if no thread can be created).
 */
int32_t os_thread_create(os_thread_t *thread, const os_thread_attr *attr, os_thread_entry entry,
                         void *argument);

/* Waits without limit for a joinable thread to end, and releases it. thread: 0 gives ESRCH. */
int32_t os_thread_join(os_thread_t thread);

/*
 * Cancels a thread, which ends at its next cancellation point, such as a wait. The call doesn't wait for
 * that, and the thread's resources are not released: locks of its own stay locked. While the thread writes to
 * the log, encrypts, or changes a subscription it is not cancelled, since others need those locks: these
 * calls are no cancellation points, so a thread that makes no other calls is never cancelled. The C library
 * allocates memory for the first call of a process, and ends the process if that fails.
 *
 * thread: a thread that has not been joined or released; 0 gives ESRCH.
 */
int32_t os_thread_cancel(os_thread_t thread);

/* A lock for the threads of one process; not recursive. */
typedef struct os_mutex os_mutex;

/* Creates an unlocked mutex; returns null without memory. The caller closes it with os_mutex_close. */
os_mutex *os_mutex_create(void);

/* Locks a mutex; waits without limit. */
int32_t os_mutex_lock(os_mutex *mutex);

/* Unlocks a mutex that the calling thread has locked. */
int32_t os_mutex_unlock(os_mutex *mutex);

/* Destroys an unlocked mutex; null does nothing. */
void os_mutex_close(os_mutex *mutex);

/* A counting semaphore for the threads of one process. */
typedef struct os_sem os_sem;

/*
 * Creates a semaphore with an initial count; returns null without memory or for a count above 2^31-1.
 * The caller closes it with os_sem_close.
 */
os_sem *os_sem_create(uint32_t count);

/* Waits without limit until the count is above 0, and decrements it. A signal does not end the wait. */
int32_t os_sem_wait(os_sem *sem);

/* Increments the count and wakes one waiter. */
int32_t os_sem_post(os_sem *sem);

/* Destroys a semaphore that no thread waits on; null does nothing. */
void os_sem_close(os_sem *sem);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
