/*
 * A lock held by another process.
 */
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "unit/frwk_common/ipc/test_peer.h"

/* A process that holds a lock until it is asked to end, or is killed. */
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
