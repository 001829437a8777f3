/*
 * A disk that is slow while the test wants it: syncs of files begin, and end when the test has removed the
 * file
 * "/tmp/m_tmp/sync.held". A library to preload in the place of fsync. The first one that waits writes
 * "/tmp/m_tmp/sync.begun".
 */
#include <fcntl.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

__attribute__((visibility("default"))) int fsync(int fd) {
    const struct timespec moment = {0, 1000000};
    while (access("/tmp/m_tmp/sync.held", F_OK) == 0) {
        close(open("/tmp/m_tmp/sync.begun", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        nanosleep(&moment, NULL);
    }
    return (int)syscall(SYS_fsync, fd);
}
