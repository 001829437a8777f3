/*
 * Threads, mutexes and counting semaphores.
 *
 * Every function may be called from any thread. A forked child has none of its parent's threads, and finds
 * the mutexes and semaphores as these had them, so it uses none of its parent's. Results are 0 on success and
 * an errno value otherwise, unless said differently; a null mutex, semaphore, thread or entry gives EINVAL.
 */
#ifndef QUOR_OS_THREAD_H
#define QUOR_OS_THREAD_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* A thread's handle; 0 is no thread. */
typedef unsigned long os_thread_t;

/* How a thread is started. */
typedef struct os_thread_attr {
    uint32_t detached;   /* 1 = releases itself at its end, 0 = must be joined */
    uint32_t stack_size; /* bytes, 0 = the system's default */
} os_thread_attr;

typedef void *(*os_thread_entry)(void *argument);

/* Fills attr with the defaults: a detached thread with the system's stack size. attr: not null. */
int32_t os_thread_attr_init(os_thread_attr *attr);

/*
 * Starts a thread.
 *
 * thread: receives the handle; unchanged on failure.
 * attr: read during the call only; null stands for the defaults.
 * entry, argument: what the thread runs.
 * Returns 0, or an errno value (EAGAIN when no thread can be had).
 */
int32_t os_thread_create(os_thread_t *thread, const os_thread_attr *attr, os_thread_entry entry,
                         void *argument);

/* Waits without limit for a joinable thread to end, and releases it. thread: 0 gives ESRCH. */
int32_t os_thread_join(os_thread_t thread);

/*
 * Asks a thread to end, which it does at its next wait or other cancellation point. The call doesn't wait
 * for that, and what the thread holds is not released. For the first one of a process the C library takes
 * memory, and ends the process where there is none.
 *
 * thread: a thread that has not been released yet; 0 gives ESRCH.
 */
int32_t os_thread_cancel(os_thread_t thread);

/* A lock for the threads of one process; not recursive. */
typedef struct os_mutex os_mutex;

/* Makes an open mutex, or null when there is no memory. The caller closes it with os_mutex_close. */
os_mutex *os_mutex_create(void);

/* Waits without limit until the calling thread holds the mutex. */
int32_t os_mutex_lock(os_mutex *mutex);

/* Lets go of a mutex that the calling thread holds. */
int32_t os_mutex_unlock(os_mutex *mutex);

/* Releases a mutex that nobody holds; null does nothing. */
void os_mutex_close(os_mutex *mutex);

/* A counting semaphore for the threads of one process. */
typedef struct os_sem os_sem;

/*
 * Makes a semaphore with a starting count, or null when there is no memory or the count is above 2^31-1.
 * The caller closes it with os_sem_close.
 */
os_sem *os_sem_create(uint32_t count);

/* Waits without limit until the count is above 0, and takes one. A signal does not end the wait. */
int32_t os_sem_wait(os_sem *sem);

/* Adds one to the count and wakes one waiter. */
int32_t os_sem_post(os_sem *sem);

/* Releases a semaphore that nobody waits on; null does nothing. */
void os_sem_close(os_sem *sem);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
