/*
 * Record locks as other processes hold and see them.
 */
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "unit/frwk_common/test_peer.h"

/* The process that holds a lock on the whole file, as another process sees it; 0 for none. */
inline pid_t holder_of(const char *path) {
    const int fd = open(path, O_RDWR | O_CLOEXEC);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const int result = fcntl(fd, F_GETLK, &lock);
    (void)close(fd);
    const bool whole = lock.l_type == F_WRLCK && lock.l_start == 0 && lock.l_len == 0;
    return result == 0 && whole ? lock.l_pid : 0;
}

/* A process that holds a lock until it is told to end, or is killed. */
class LockHolder {
  public:
    /* take: takes the lock, in the new process. */
    explicit LockHolder(const std::function<void()> &take) {
        pid_ = fork();
        if (pid_ == 0) {
            take();
            (void)write_bytes(pair_.subject(), Bytes(1));
            pair_.close_test();
            (void)read_bytes(pair_.subject(), 1);
            _exit(0);
        }
        (void)read_bytes(pair_.test(), 1);
    }
    LockHolder(const LockHolder &) = delete;
    LockHolder &operator=(const LockHolder &) = delete;
    ~LockHolder() { end(); }

    pid_t pid() const { return pid_; }
    void end() {
        (void)write_bytes(pair_.test(), Bytes(1));
        await_end();
    }
    void kill() {
        if (pid_ > 0) {
            (void)::kill(pid_, SIGKILL);
        }
        await_end();
    }

  private:
    void await_end() {
        if (pid_ > 0) {
            (void)waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }

    SocketPair pair_;
    pid_t pid_ = -1;
};
