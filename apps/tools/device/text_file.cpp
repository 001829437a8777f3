#include "device/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "cli/complaint.h"
#include "device/held_file.h"
#include "device/open_file.h"
#include "output/spelt_text.h"

namespace {

constexpr size_t kLargest = size_t{64} * 1024 * 1024;
constexpr mode_t kOwnerOnly = 0600;
constexpr char kPartSuffix[] = ".part";

std::string cant_read(const std::string &path, int error) {
    return errno_text("can't read " + path, error);
}

std::string cant_write(const std::string &path, int error) {
    return errno_text("can't write " + path, error);
}

std::string read_all(int fd, const std::string &path, std::string *text) {
    char piece[65536];
    std::string all;
    for (;;) {
        const ssize_t count = ::read(fd, piece, sizeof(piece));
        if (count < 0) {
            return cant_read(path, errno);
        }
        if (count == 0) {
            break;
        }
        all.append(piece, static_cast<size_t>(count));
        if (all.size() > kLargest) {
            return cant_read(path, EFBIG);
        }
    }
    *text = std::move(all);
    return "";
}

bool write_all(int fd, std::string_view text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t count = ::write(fd, text.data() + done, text.size() - done);
        if (count < 0) {
            return false;
        }
        done += static_cast<size_t>(count);
    }
    return true;
}

/*
 * Puts a new file in the place of what is there, in one step: the file's name never shows a part of the text.
 * False with errno set.
 */
bool replace_file(const HeldFile &file, const std::string &text) {
    file.remove(kPartSuffix); /* left by a tool that was killed */
    const OpenFile part(file.open(O_WRONLY | O_CREAT | O_EXCL, kOwnerOnly, kPartSuffix));
    if (part.fd() < 0) {
        return false;
    }
    if (write_all(part.fd(), text) && ::fsync(part.fd()) == 0 && file.replace_by(kPartSuffix)) {
        return true;
    }
    const int error = errno;
    file.remove(kPartSuffix);
    errno = error;
    return false;
}

/* fd: opened without blocking, which was for pipes only. False with errno set. */
bool write_device(int fd, const std::string &text) {
    return ::fcntl(fd, F_SETFL, 0) == 0 && write_all(fd, ::isatty(fd) == 1 ? spelt_out_lines(text) : text);
}

/* Of an open file; 0 when that can't be found out. */
mode_t type_of(int fd) {
    struct stat info = {};
    (void)::fstat(fd, &info);
    return info.st_mode & S_IFMT;
}

/* Writes to what is there, open as fd. False with errno set. */
bool write_present(const HeldFile &file, int fd, const std::string &text) {
    switch (type_of(fd)) {
        case S_IFREG:
            return replace_file(file, text);
        case S_IFCHR:
            return write_device(fd, text);
        default:
            errno = EINVAL;
            return false;
    }
}

}  // namespace

bool file_exists(const std::string &path) {
    return ::access(path.c_str(), F_OK) == 0;
}

std::string read_text_file(const std::string &path, std::string *text) {
    if (path == kStandardStream) {
        return read_all(STDIN_FILENO, "standard input", text);
    }
    const OpenFile file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    return file.fd() < 0 ? cant_read(path, errno) : read_all(file.fd(), path, text);
}

std::string copy_file(const std::string &from, int to) {
    const OpenFile file(::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat info = {};
    if (file.fd() < 0 || ::fstat(file.fd(), &info) != 0) {
        return cant_read(from, errno);
    }
    if (!S_ISREG(info.st_mode)) {
        return cant_read(from, S_ISDIR(info.st_mode) ? EISDIR : EINVAL);
    }
    char piece[65536];
    for (;;) {
        const ssize_t count = ::read(file.fd(), piece, sizeof(piece));
        if (count < 0) {
            return cant_read(from, errno);
        }
        if (count == 0) {
            return "";
        }
        if (!write_all(to, {piece, static_cast<size_t>(count)})) {
            return errno_text("can't copy " + from, errno);
        }
    }
}

std::string write_private_file(const std::string &path, const std::string &text) {
    const HeldFile file(path);
    const OpenFile present(file.open(O_WRONLY | O_NONBLOCK));
    const bool is_missing = present.fd() < 0 && errno == ENOENT;
    const bool is_written =
        is_missing ? replace_file(file, text) : present.fd() >= 0 && write_present(file, present.fd(), text);
    return is_written ? "" : cant_write(path, errno);
}
