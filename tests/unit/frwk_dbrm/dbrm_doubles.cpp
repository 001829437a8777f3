/*
 * Where calls of the file cipher, the digest and those for files arrive, and how they go on.
 */
#include "unit/frwk_dbrm/dbrm_doubles.h"

extern "C" {

int32_t __real_zn_encrypt_file_ex(const char *);
int32_t __real_zn_decrypt_file_ex(const char *);
int32_t __real_md5_encrypt_file(const char *, uint8_t *);
int __real_truncate64(const char *, off_t);
int __real_fstatat64(int, const char *, struct ::stat *, int);
int __real_statvfs64(const char *, struct ::statvfs *);
char *__real_mkdtemp(char *);
int __real_rmdir(const char *);
ssize_t __real_readlinkat(int, const char *, char *, size_t);
uid_t __real_geteuid();

}  // extern "C"

namespace doubles::base {

Double<int32_t(const char *)> zn_encrypt_file_ex(__real_zn_encrypt_file_ex);
Double<int32_t(const char *)> zn_decrypt_file_ex(__real_zn_decrypt_file_ex);
Double<int32_t(const char *, uint8_t *)> md5_encrypt_file(__real_md5_encrypt_file);

}  // namespace doubles::base

namespace doubles::libc {

Double<int(const char *, off_t)> truncate(__real_truncate64);
Double<int(int, const char *, struct ::stat *, int)> fstatat(__real_fstatat64);
Double<int(const char *, struct ::statvfs *)> statvfs(__real_statvfs64);
Double<char *(char *)> mkdtemp(__real_mkdtemp);
Double<int(const char *)> rmdir(__real_rmdir);
Double<ssize_t(int, const char *, char *, size_t)> readlinkat(__real_readlinkat);
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

int __wrap_truncate64(const char *a, off_t b) {
    return doubles::libc::truncate(a, b);
}

int __wrap_fstatat64(int a, const char *b, struct ::stat *c, int d) {
    return doubles::libc::fstatat(a, b, c, d);
}

int __wrap_statvfs64(const char *a, struct ::statvfs *b) {
    return doubles::libc::statvfs(a, b);
}

char *__wrap_mkdtemp(char *a) {
    return doubles::libc::mkdtemp(a);
}

int __wrap_rmdir(const char *a) {
    return doubles::libc::rmdir(a);
}

ssize_t __wrap_readlinkat(int a, const char *b, char *c, size_t d) {
    return doubles::libc::readlinkat(a, b, c, d);
}

uid_t __wrap_geteuid() {
    return doubles::libc::geteuid();
}

}  // extern "C"
