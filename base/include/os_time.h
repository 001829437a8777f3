/*
 * Sleeping, time since boot and one-shot timers, all on monotonic time; and the time of day.
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

/* Seconds since boot, time asleep included. */
uint32_t os_uptime_sec(void);

/*
 * Time since boot, time asleep included, in two numbers.
 *
 * seconds: receives whole seconds. nanoseconds: receives the rest, below a second.
 */
void os_uptime(long *seconds, long *nanoseconds);

/*
 * Reads the time of day, which may jump when the clock is set: for showing and seeding, not for measuring.
 *
 * now: receives seconds since 1970 and microseconds; not null.
 * Returns what gettimeofday(2) returns: 0, or -1 with errno set.
 */
int32_t os_gettimeofday(struct timeval *now);

/* A timer that is asked whether it has run out; it needs no release. */
typedef struct os_simple_timer {
    uint64_t deadline_ms; /* on the monotonic clock */
} os_simple_timer;

/* Starts or restarts a timer. timer: not null. milliseconds: until it runs out; 0 runs out at once. */
void os_simple_timer_start(os_simple_timer *timer, uint64_t milliseconds);

/* Returns 1 when the started timer has run out, else 0. */
int32_t os_simple_timer_timeout(const os_simple_timer *timer);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
