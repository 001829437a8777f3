/*
 * The steps that writing a file so that it can't be lost is made of. They report with errno values and
 * log nothing. Any thread.
 */
#pragma once

#include <cstddef>
#include <string>
#include <utility>

/* The only owner of a descriptor. */
class OwnedFd {
  public:
    OwnedFd() = default;
    explicit OwnedFd(int fd) : fd_(fd) {}
    OwnedFd(OwnedFd &&other) noexcept : fd_(other.take()) {}
    OwnedFd &operator=(OwnedFd &&other) noexcept {
        reset(other.take());
        return *this;
    }
    OwnedFd(const OwnedFd &) = delete;
    OwnedFd &operator=(const OwnedFd &) = delete;
    ~OwnedFd() { reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    int take() { return std::exchange(fd_, -1); }
    void reset(int fd = -1);

  private:
    int fd_ = -1;
};

/*
 * Opens a regular file.
 * flags: those of open(2) beside O_CLOEXEC. fd: receives the descriptor; unchanged on failure.
 * Returns 0 or an errno value; anything but a file is EISDIR or EINVAL, and is not waited for.
 */
int open_file(const std::string &path, int flags, OwnedFd &fd);

/* Writes all bytes. Returns 0 or an errno value; then any part of them may have been written. */
int write_all(int fd, const char *text, size_t length);

/* Makes the folder of a file, and those above it, where they are missing. Returns 0 or an errno value. */
int make_folder_of(const std::string &path);

/* Makes the names in the folder of a file survive a power cut. Returns 0 or an errno value. */
int sync_folder_of(const std::string &path);

/* The same for the name of that folder, and for those above it. */
int sync_folders_above(const std::string &path);
