#include "unit/base/file_doubles.h"

extern "C" {

int __real_mkostemp64(char *, int);
int __real_flock(int, int);
int __real_fstat64(int, struct stat *);
int __real_fchown(int, uid_t, gid_t);
int __real_link(const char *, const char *);
char *__real_realpath(const char *, char *);
ssize_t __real_getrandom(void *, size_t, unsigned);
void __real_sodium_memzero(void *, size_t);

}  // extern "C"

namespace doubles::files {

Double<int(char *, int)> mkostemp(__real_mkostemp64);
Double<int(int, int)> flock(__real_flock);
Double<int(int, struct stat *)> fstat(__real_fstat64);
Double<int(int, uid_t, gid_t)> fchown(__real_fchown);
Double<int(const char *, const char *)> link(__real_link);
Double<char *(const char *, char *)> realpath(__real_realpath);
Double<ssize_t(void *, size_t, unsigned)> getrandom(__real_getrandom);
Double<void(void *, size_t)> sodium_memzero(__real_sodium_memzero);

}  // namespace doubles::files

extern "C" {

int __wrap_mkostemp64(char *a, int b) {
    return doubles::files::mkostemp(a, b);
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

char *__wrap_realpath(const char *a, char *b) {
    return doubles::files::realpath(a, b);
}

ssize_t __wrap_getrandom(void *a, size_t b, unsigned c) {
    return doubles::files::getrandom(a, b, c);
}

void __wrap_sodium_memzero(void *a, size_t b) {
    doubles::files::sodium_memzero(a, b);
}

}  // extern "C"
