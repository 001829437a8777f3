#include "support/file_io.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "support/uninterrupted.h"

namespace file_io {

namespace {

UniqueFd regular_only(UniqueFd fd, struct stat *found) {
    if (!fd || fstat(fd.get(), found) != 0) {
        return UniqueFd();
    }
    if (!S_ISREG(found->st_mode)) {
        errno = EINVAL;
        return UniqueFd();
    }
    return fd;
}

}  // namespace

int open_for_reading(const char *path) {
    return open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
}

int open_for_reading_in(int folder, const char *name) {
    return openat(folder, name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
}

UniqueFd open_regular(const char *path, struct stat *found) {
    return regular_only(UniqueFd(open_for_reading(path)), found);
}

UniqueFd open_regular_in(int folder, const char *name, struct stat *found) {
    return regular_only(UniqueFd(open_for_reading_in(folder, name)), found);
}

int kind_error(const struct stat &found) {
    if (S_ISDIR(found.st_mode)) {
        return EISDIR;
    }
    return S_ISREG(found.st_mode) ? 0 : EINVAL;
}

bool read_up_to(int fd, void *to, size_t room, size_t *count) {
    *count = 0;
    while (*count < room) {
        unsigned char *at = static_cast<unsigned char *>(to) + *count;
        const ssize_t got = uninterrupted([&] { return read(fd, at, room - *count); });
        if (got <= 0) {
            return got == 0;
        }
        *count += static_cast<size_t>(got);
    }
    return true;
}

bool write_all(int fd, const void *from, size_t size) {
    size_t written = 0;
    while (written < size) {
        const unsigned char *at = static_cast<const unsigned char *>(from) + written;
        const ssize_t put = uninterrupted([&] { return write(fd, at, size - written); });
        if (put <= 0) {
            errno = put == 0 ? ENOSPC : errno;
            return false;
        }
        written += static_cast<size_t>(put);
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
