/*
 * The owner of a file descriptor: closes it at the end of its scope and keeps errno while it does.
 */
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

class OwnedFd {
  public:
    /* fd: below 0 is none. */
    explicit OwnedFd(int fd) : fd_(fd) {}
    ~OwnedFd() {
        if (fd_ >= 0) {
            const int kept = errno;
            close(fd_);
            errno = kept;
        }
    }
    OwnedFd(const OwnedFd &) = delete;
    OwnedFd &operator=(const OwnedFd &) = delete;
    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

    /* Hands the descriptor over to the caller. */
    [[nodiscard]] int take() { return std::exchange(fd_, -1); }

  private:
    int fd_;
};
