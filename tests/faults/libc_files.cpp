/*
 * In front of the functions for descriptors, files and folders.
 */
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/uio.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>

#include "faults/in_front.h"

using faults::Call;
using faults::Fault;
using faults::transfer;

namespace {

/* The mode that a call with these flags has been given. */
mode_t mode_of(int flags, va_list rest) {
    return (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
}

/* The outcome of a call that opens a file. */
template <typename Open>
int opened(Call call, const Open &open) {
    const Fault fault = faults::take(call);
    if (fault.way != Fault::Way::kNone) {
        return faults::refuse(fault, -1);
    }
    const int fd = open();
    faults::carried_out(call, -1);
    return fd;
}

}  // namespace

QUOR_IN_FRONT(int, open64, (const char *path, int flags, ...)) {
    static const auto real = faults::real_function<int (*)(const char *, int, ...)>("open64");
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = mode_of(flags, rest);
    va_end(rest);
    return opened(Call::open64, [=] { return real(path, flags, mode); });
}

QUOR_IN_FRONT(int, openat64, (int folder, const char *path, int flags, ...)) {
    static const auto real = faults::real_function<int (*)(int, const char *, int, ...)>("openat64");
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = mode_of(flags, rest);
    va_end(rest);
    return opened(Call::openat64, [=] { return real(folder, path, flags, mode); });
}

QUOR_IN_FRONT(ssize_t, read, (int fd, void *to, size_t size)) {
    QUOR_REAL(ssize_t, read, (int, void *, size_t));
    return transfer(Call::read, size, [=](size_t part) { return real(fd, to, part); });
}

QUOR_IN_FRONT(ssize_t, write, (int fd, const void *from, size_t size)) {
    QUOR_REAL(ssize_t, write, (int, const void *, size_t));
    return transfer(Call::write, size, [=](size_t part) { return real(fd, from, part); });
}

QUOR_IN_FRONT(ssize_t, pwrite64, (int fd, const void *from, size_t size, off64_t at)) {
    QUOR_REAL(ssize_t, pwrite64, (int, const void *, size_t, off64_t));
    return transfer(Call::pwrite64, size, [=](size_t part) { return real(fd, from, part, at); });
}

/* Short: only the first piece. */
QUOR_IN_FRONT(ssize_t, writev, (int fd, const iovec *pieces, int count)) {
    QUOR_REAL(ssize_t, writev, (int, const iovec *, int));
    return transfer(Call::writev, static_cast<size_t>(count),
                    [=](size_t part) { return real(fd, pieces, static_cast<int>(part)); });
}

/* The descriptor is closed in any case, as on Linux. */
QUOR_IN_FRONT(int, close, (int fd)) {
    QUOR_REAL(int, close, (int));
    const Fault fault = faults::take(Call::close);
    const int result = real(fd);
    return fault.way == Fault::Way::kNone ? result : faults::refuse(fault, -1);
}

QUOR_IN_FRONT(int, fsync, (int fd)) {
    QUOR_REAL(int, fsync, (int));
    const Fault fault = faults::take(Call::fsync);
    if (fault.way != Fault::Way::kNone) {
        return faults::refuse(fault, -1);
    }
    const int result = real(fd);
    faults::carried_out(Call::fsync, fd);
    return result;
}

/* Can't fail. The disks of the machine that runs the tests are left in peace. */
QUOR_IN_FRONT(void, sync, ()) {
    QUOR_REAL(void, sync, ());
    if (!faults::watched()) {
        real();
    }
    faults::carried_out(Call::kNone, -1);
}

QUOR_IN_FRONT(int, fcntl64, (int fd, int command, ...)) {
    static const auto real = faults::real_function<int (*)(int, int, ...)>("fcntl64");
    va_list rest;
    va_start(rest, command);
    void *argument = va_arg(rest, void *);
    va_end(rest);
    const Fault fault = faults::take(Call::fcntl64);
    return fault.way == Fault::Way::kNone ? real(fd, command, argument) : faults::refuse(fault, -1);
}
