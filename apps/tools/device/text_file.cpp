#include "device/text_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "cli/complaint.h"
#include "device/access_words.h"
#include "device/held_file.h"
#include "output/spelt_text.h"
#include "support/atomic_file.h"
#include "support/file_io.h"
#include "support/unique_fd.h"

namespace {

constexpr size_t kLargest = size_t{64} * 1024 * 1024;
constexpr char kPartSuffix[] = ".part";

std::string cant_read(const std::string &path, int error) {
    return failure_text("can't read " + path, path, error);
}

std::string cant_write(const std::string &path, int error) {
    return failure_text("can't write " + path, path, error, Access::kCreate);
}

bool write_text(int fd, std::string_view text) {
    return file_io::write_all(fd, text.data(), text.size());
}

/*
 * Atomically replaces a file by a new one with the text. Returns false, with errno set, on failure.
 */
bool replace_file(const HeldFile &file, const std::string &text) {
    AtomicFile part(file.folder(), file.name());
    return part.create_beside(kPartSuffix, O_WRONLY) && write_text(part.fd(), text) &&
           part.replace_target(AtomicFile::Sync::kAll) != AtomicFile::Placed::kNo;
}

/* fd: opened non-blocking, which was only needed in case it is a pipe. Returns false, with errno set, on
 * failure. */
bool write_device(int fd, const std::string &text) {
    return ::fcntl(fd, F_SETFL, 0) == 0 && write_text(fd, ::isatty(fd) == 1 ? spelt_out_lines(text) : text);
}

/* The type of an open file; 0 on failure. */
mode_t type_of(int fd) {
    struct stat info = {};
    (void)::fstat(fd, &info);
    return info.st_mode & S_IFMT;
}

/* Writes to the existing file or device, open as fd. Returns false, with errno set, on failure. */
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

std::string read_open_file(int fd, const std::string &path, std::string *text) {
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

std::string read_text_file(const std::string &path, std::string *text) {
    if (path == kStandardStream) {
        return read_open_file(STDIN_FILENO, "standard input", text);
    }
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    return !file ? cant_read(path, errno) : read_open_file(file.get(), path, text);
}

std::string copy_file(const std::string &from, int to) {
    const UniqueFd file(::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat info = {};
    if (!file || ::fstat(file.get(), &info) != 0) {
        return cant_read(from, errno);
    }
    if (const int error = file_io::kind_error(info)) {
        return cant_read(from, error);
    }
    switch (file_io::copy_rest(file.get(), to)) {
        case file_io::Copied::kCantRead:
            return cant_read(from, errno);
        case file_io::Copied::kCantWrite:
            return errno_text("can't copy " + from, errno);
        case file_io::Copied::kAll:
            break;
    }
    return "";
}

std::string write_private_file(const std::string &path, const std::string &text) {
    const HeldFile file(path);
    if (file.error() != 0) {
        return cant_write(path, file.error());
    }
    const UniqueFd present(file.open(O_WRONLY | O_NONBLOCK));
    const bool is_missing = !present && errno == ENOENT;
    const bool is_written =
        is_missing ? replace_file(file, text) : present && write_present(file, present.get(), text);
    return is_written ? "" : cant_write(path, errno);
}
