#include "support/file_io.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "support/uninterrupted.h"
#include "support/unique_fd.h"

namespace file_io {

int open_for_reading(const char *path) {
    return open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
}

int open_for_reading_in(int folder, const char *name) {
    return openat(folder, name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
}

bool is_regular_file(int fd, struct stat *found) {
    if (fstat(fd, found) != 0) {
        return false;
    }
    if (!S_ISREG(found->st_mode)) {
        errno = EINVAL;
        return false;
    }
    return true;
}

bool read_up_to(int fd, void *to, size_t room, size_t *count) {
    *count = 0;
    while (*count < room) {
        const ssize_t got = read(fd, static_cast<unsigned char *>(to) + *count, room - *count);
        if (got == 0) {
            return true;
        }
        if (got < 0 && errno != EINTR) {
            return false;
        }
        *count += got > 0 ? static_cast<size_t>(got) : 0;
    }
    return true;
}

bool write_all(int fd, const void *from, size_t size) {
    size_t written = 0;
    while (written < size) {
        const ssize_t put = write(fd, static_cast<const unsigned char *>(from) + written, size - written);
        if (put == 0) {
            errno = ENOSPC;
            return false;
        }
        if (put < 0 && errno != EINTR) {
            return false;
        }
        written += put > 0 ? static_cast<size_t>(put) : 0;
    }
    return true;
}

Copied copy_rest(int from, int to) {
    unsigned char piece[16384];
    for (;;) {
        size_t count = 0;
        if (!read_up_to(from, piece, sizeof(piece), &count)) {
            return Copied::kCantRead;
        }
        if (!write_all(to, piece, count)) {
            return Copied::kCantWrite;
        }
        if (count < sizeof(piece)) {
            return Copied::kAll;
        }
    }
}

bool sync_where_possible(int fd) {
    return fsync(fd) == 0 || errno == EINVAL;
}

bool sync_folder(int from, const char *name) {
    const UniqueFd fd(openat(from, name, O_RDONLY | O_CLOEXEC | O_DIRECTORY));
    return fd && sync_where_possible(fd.get());
}

bool folder_of(const char *path, char *folder, size_t size) {
    const char *slash = strrchr(path, '/');
    const char *text = slash != nullptr ? path : ".";
    const size_t length =
        slash != nullptr ? std::max<size_t>(static_cast<size_t>(slash - path), 1) : 1; /* 1: "/" */
    if (length >= size) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(folder, text, length);
    folder[length] = '\0';
    return true;
}

bool sync_folder_of(int from, const char *path) {
    char folder[PATH_MAX];
    return folder_of(path, folder, sizeof(folder)) && sync_folder(from, folder);
}

bool lock(int fd, int operation) {
    return uninterrupted([fd, operation] { return flock(fd, operation); }) == 0;
}

}  // namespace file_io
