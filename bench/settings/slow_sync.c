/*
 * A disk whose syncs take $QUOR_BENCH_SYNC_MS milliseconds: a library to preload in the place of fsync.
 */
#include <stdlib.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

__attribute__((visibility("default"))) int fsync(int fd) {
    const char *text = getenv("QUOR_BENCH_SYNC_MS");
    const long milliseconds = text != NULL ? atol(text) : 0;
    const struct timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000};
    nanosleep(&time, NULL);
    return (int)syscall(SYS_fsync, fd);
}
