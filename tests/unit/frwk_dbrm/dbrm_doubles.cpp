/*
 * Where calls of the file cipher, the digest and those for files arrive, and how they go on.
 */
#include "unit/frwk_dbrm/dbrm_doubles.h"

#include <fcntl.h>

#include <cstdarg>

extern "C" {

int32_t __real_zn_encrypt_file_ex(const char *);
int32_t __real_zn_decrypt_file_ex(const char *);
int32_t __real_md5_encrypt_file(const char *, uint8_t *);
int __real_openat64(int, const char *, int, ...);
int __real_truncate64(const char *, off_t);
int __real_fstat64(int, struct ::stat *);
int __real_fstatat64(int, const char *, struct ::stat *, int);
int __real_statvfs64(const char *, struct ::statvfs *);
int __real_flock(int, int);
char *__real_mkdtemp(char *);
int __real_rmdir(const char *);
int __real_renameat(int, const char *, int, const char *);
int __real_unlinkat(int, const char *, int);
ssize_t __real_readlinkat(int, const char *, char *, size_t);
char *__real_realpath(const char *, char *);
uid_t __real_geteuid();

}  // extern "C"

namespace {

int real_openat(int folder, const char *name, int flags, mode_t mode) {
    return __real_openat64(folder, name, flags, mode);
}

}  // namespace

namespace doubles::base {

Double<int32_t(const char *)> zn_encrypt_file_ex(__real_zn_encrypt_file_ex);
Double<int32_t(const char *)> zn_decrypt_file_ex(__real_zn_decrypt_file_ex);
Double<int32_t(const char *, uint8_t *)> md5_encrypt_file(__real_md5_encrypt_file);

}  // namespace doubles::base

namespace doubles::libc {

Double<int(const char *, off_t)> truncate(__real_truncate64);
Double<int(int, const char *, int, mode_t)> openat(real_openat);
Double<int(int, struct ::stat *)> fstat(__real_fstat64);
Double<int(int, const char *, struct ::stat *, int)> fstatat(__real_fstatat64);
Double<int(const char *, struct ::statvfs *)> statvfs(__real_statvfs64);
Double<int(int, int)> flock(__real_flock);
Double<char *(char *)> mkdtemp(__real_mkdtemp);
Double<int(const char *)> rmdir(__real_rmdir);
Double<int(int, const char *, int, const char *)> renameat(__real_renameat);
Double<int(int, const char *, int)> unlinkat(__real_unlinkat);
Double<ssize_t(int, const char *, char *, size_t)> readlinkat(__real_readlinkat);
Double<char *(const char *, char *)> realpath(__real_realpath);
Double<uid_t()> geteuid(__real_geteuid);

}  // namespace doubles::libc

extern "C" {

int32_t __wrap_zn_encrypt_file_ex(const char *a) {
    return doubles::base::zn_encrypt_file_ex(a);
}

int32_t __wrap_zn_decrypt_file_ex(const char *a) {
    return doubles::base::zn_decrypt_file_ex(a);
}

int32_t __wrap_md5_encrypt_file(const char *a, uint8_t *b) {
    return doubles::base::md5_encrypt_file(a, b);
}

int __wrap_openat64(int folder, const char *name, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    return doubles::libc::openat(folder, name, flags, mode);
}

int __wrap_truncate64(const char *a, off_t b) {
    return doubles::libc::truncate(a, b);
}

int __wrap_fstat64(int a, struct ::stat *b) {
    return doubles::libc::fstat(a, b);
}

int __wrap_fstatat64(int a, const char *b, struct ::stat *c, int d) {
    return doubles::libc::fstatat(a, b, c, d);
}

int __wrap_statvfs64(const char *a, struct ::statvfs *b) {
    return doubles::libc::statvfs(a, b);
}

int __wrap_flock(int a, int b) {
    return doubles::libc::flock(a, b);
}

char *__wrap_mkdtemp(char *a) {
    return doubles::libc::mkdtemp(a);
}

int __wrap_rmdir(const char *a) {
    return doubles::libc::rmdir(a);
}

int __wrap_renameat(int a, const char *b, int c, const char *d) {
    return doubles::libc::renameat(a, b, c, d);
}

int __wrap_unlinkat(int a, const char *b, int c) {
    return doubles::libc::unlinkat(a, b, c);
}

ssize_t __wrap_readlinkat(int a, const char *b, char *c, size_t d) {
    return doubles::libc::readlinkat(a, b, c, d);
}

char *__wrap_realpath(const char *a, char *b) {
    return doubles::libc::realpath(a, b);
}

uid_t __wrap_geteuid() {
    return doubles::libc::geteuid();
}

}  // extern "C"
