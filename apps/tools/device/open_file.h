/*
 * The owner of a descriptor, but of the standard streams', which stay open.
 */
#pragma once

#include <unistd.h>

class OpenFile {
  public:
    explicit OpenFile(int fd) : fd_(fd) {}
    ~OpenFile() {
        if (fd_ > STDERR_FILENO) {
            ::close(fd_);
        }
    }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;
    int fd() const { return fd_; }

  private:
    int fd_;
};
