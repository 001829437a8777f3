/*
 * Where calls of the C library's functions arrive, and how they go on.
 */
#include "doubles/libc_doubles.h"

#include <fcntl.h>

#include <cstdarg>

extern "C" {

#define QUOR_FIXED_CALL(result, name, symbol, parameters, arguments) result __real_##symbol parameters;
#include "support/libc_calls.def"

int __real_open64(const char *, int, ...);
int __real_openat64(int, const char *, int, ...);
int __real_fcntl64(int, int, ...);

}  // extern "C"

namespace {

int real_open(const char *path, int flags, mode_t mode) {
    return __real_open64(path, flags, mode);
}

int real_openat(int folder, const char *path, int flags, mode_t mode) {
    return __real_openat64(folder, path, flags, mode);
}

int real_fcntl(int fd, int command, void *argument) {
    return __real_fcntl64(fd, command, argument);
}

/* The mode that a call with these flags has been given. */
mode_t mode_of(int flags, va_list rest) {
    const bool has_mode = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return has_mode ? va_arg(rest, mode_t) : 0;
}

}  // namespace

namespace doubles::libc {

#define QUOR_FIXED_CALL(result, name, symbol, parameters, arguments) \
    Double<result parameters> name(__real_##symbol);
#include "support/libc_calls.def"

Double<int(const char *, int, mode_t)> open(real_open);
Double<int(int, const char *, int, mode_t)> openat(real_openat);
Double<int(int, int, void *)> fcntl(real_fcntl);

}  // namespace doubles::libc

extern "C" {

#define QUOR_FIXED_CALL(result, name, symbol, parameters, arguments) \
    result __wrap_##symbol parameters {                              \
        return doubles::libc::name arguments;                        \
    }
#include "support/libc_calls.def"

int __wrap_open64(const char *path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = mode_of(flags, rest);
    va_end(rest);
    return doubles::libc::open(path, flags, mode);
}

int __wrap_open(const char *path, int flags, ...) __attribute__((alias("__wrap_open64")));

int __wrap_openat64(int folder, const char *path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = mode_of(flags, rest);
    va_end(rest);
    return doubles::libc::openat(folder, path, flags, mode);
}

int __wrap_fcntl64(int fd, int command, ...) {
    va_list rest;
    va_start(rest, command);
    void *argument = va_arg(rest, void *);
    va_end(rest);
    return doubles::libc::fcntl(fd, command, argument);
}

int __wrap_fcntl(int fd, int command, ...) __attribute__((alias("__wrap_fcntl64")));

FILE *__wrap_fopen(const char *path, const char *mode) {
    return doubles::libc::fopen(path, mode);
}

}  // extern "C"
