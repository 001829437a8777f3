/*
 * Sleeps that last a millisecond, and print the requested duration on standard error: "pause 1000". A
 * library to preload in the place of the base library's sleeping.
 */
#include <stdint.h>
#include <stdio.h>
#include <time.h>

#include "os_time.h"

static void pause_shortly(uint32_t milliseconds) {
    const struct timespec moment = {0, 1000000};
    dprintf(2, "pause %u\n", (unsigned)milliseconds);
    nanosleep(&moment, NULL);
}

void os_sleep(uint32_t seconds) {
    pause_shortly(seconds * 1000);
}

void os_msleep(uint32_t milliseconds) {
    pause_shortly(milliseconds);
}
