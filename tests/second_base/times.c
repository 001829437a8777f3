/*
 * Sleeping, clocks and timers: those of the system.
 */
#include <time.h>
#include <unistd.h>

#include "os_time.h"

void os_sleep(uint32_t seconds) {
    (void)sleep(seconds);
}

void os_msleep(uint32_t milliseconds) {
    (void)usleep(milliseconds * 1000);
}

void os_uptime(long *seconds, long *nanoseconds) {
    struct timespec now;
    clock_gettime(CLOCK_BOOTTIME, &now);
    *seconds = (long)now.tv_sec;
    *nanoseconds = now.tv_nsec;
}

uint32_t os_uptime_sec(void) {
    long seconds;
    long nanoseconds;
    os_uptime(&seconds, &nanoseconds);
    return (uint32_t)seconds;
}

int32_t os_gettimeofday(struct timeval *now) {
    return gettimeofday(now, NULL);
}

static uint64_t now_ms(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (uint64_t)now.tv_sec * 1000 + (uint64_t)now.tv_nsec / 1000000;
}

void os_simple_timer_start(os_simple_timer *timer, uint64_t milliseconds) {
    timer->deadline_ms = now_ms() + milliseconds;
}

int32_t os_simple_timer_timeout(const os_simple_timer *timer) {
    return now_ms() >= timer->deadline_ms;
}
