#include "doubles/file_doubles.h"

#include <fcntl.h>

#include <cstdarg>

extern "C" {

int __real_openat64(int, const char *, int, ...);
DIR *__real_fdopendir(int);
int __real_renameat(int, const char *, int, const char *);
int __real_unlinkat(int, const char *, int);
int __real_flock(int, int);
int __real_fstat64(int, struct stat *);
int __real_fchown(int, uid_t, gid_t);
int __real_link(const char *, const char *);
int __real_linkat(int, const char *, int, const char *, int);
char *__real_realpath(const char *, char *);

}  // extern "C"

namespace {

int real_openat(int folder, const char *name, int flags, mode_t mode) {
    return __real_openat64(folder, name, flags, mode);
}

}  // namespace

namespace doubles::files {

Double<int(int, const char *, int, mode_t)> openat(real_openat);
Double<DIR *(int)> fdopendir(__real_fdopendir);
Double<int(int, const char *, int, const char *)> renameat(__real_renameat);
Double<int(int, const char *, int)> unlinkat(__real_unlinkat);
Double<int(int, int)> flock(__real_flock);
Double<int(int, struct stat *)> fstat(__real_fstat64);
Double<int(int, uid_t, gid_t)> fchown(__real_fchown);
Double<int(const char *, const char *)> link(__real_link);
Double<int(int, const char *, int, const char *, int)> linkat(__real_linkat);
Double<char *(const char *, char *)> realpath(__real_realpath);

}  // namespace doubles::files

extern "C" {

int __wrap_openat64(int folder, const char *name, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    return doubles::files::openat(folder, name, flags, mode);
}

DIR *__wrap_fdopendir(int a) {
    return doubles::files::fdopendir(a);
}

int __wrap_renameat(int a, const char *b, int c, const char *d) {
    return doubles::files::renameat(a, b, c, d);
}

int __wrap_unlinkat(int a, const char *b, int c) {
    return doubles::files::unlinkat(a, b, c);
}

int __wrap_flock(int a, int b) {
    return doubles::files::flock(a, b);
}

int __wrap_fstat64(int a, struct stat *b) {
    return doubles::files::fstat(a, b);
}

int __wrap_fchown(int a, uid_t b, gid_t c) {
    return doubles::files::fchown(a, b, c);
}

int __wrap_link(const char *a, const char *b) {
    return doubles::files::link(a, b);
}

int __wrap_linkat(int a, const char *b, int c, const char *d, int e) {
    return doubles::files::linkat(a, b, c, d, e);
}

char *__wrap_realpath(const char *a, char *b) {
    return doubles::files::realpath(a, b);
}

}  // extern "C"
