/*
 * Sleeping, time since boot and one-shot timers, all with a monotonic clock; and the time of day.
 *
 * Every function may be called from any thread.
 */
#ifndef QUOR_OS_TIME_H
#define QUOR_OS_TIME_H

#include <stdint.h>
#include <sys/time.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Blocks the calling thread for whole seconds; a signal does not shorten the sleep. */
void os_sleep(uint32_t seconds);

/* Blocks the calling thread for milliseconds; a signal does not shorten the sleep. */
void os_msleep(uint32_t milliseconds);

/* Returns the seconds since boot, including the time that the device was suspended. */
uint32_t os_uptime_sec(void);

/*
 * Reads the time since boot, including the time that the device was suspended.
 *
 * seconds: receives the full seconds. nanoseconds: receives the rest, below a second.
 */
void os_uptime(long *seconds, long *nanoseconds);

/*
 * Reads the time of day, which jumps when the clock is set: for display and as a seed, not for measuring.
 *
 * now: receives seconds since 1970 and microseconds; not null.
 * Returns the result of gettimeofday(2): 0, or -1 with errno set.
 */
int32_t os_gettimeofday(struct timeval *now);

/* A timer that can be polled for expiry; it needs no release. */
typedef struct os_simple_timer {
    uint64_t deadline_ms; /* on the monotonic clock */
} os_simple_timer;

/* Starts or restarts a timer. timer: not null. milliseconds: until it expires; 0 expires at once. */
void os_simple_timer_start(os_simple_timer *timer, uint64_t milliseconds);

/* Returns 1 if the timer has expired, else 0. timer: started before. */
int32_t os_simple_timer_timeout(const os_simple_timer *timer);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
