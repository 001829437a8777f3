/*
 * Where calls of the file cipher, the digest and the size of a file arrive, and how they go on.
 */
#include "unit/frwk_dbrm/dbrm_doubles.h"

extern "C" {

int32_t __real_zn_encrypt_file_ex(const char *);
int32_t __real_zn_decrypt_file_ex(const char *);
int32_t __real_md5_encrypt_file(const char *, uint8_t *);
uint64_t __real_os_file_size(const char *);

}  // extern "C"

namespace doubles::base {

Double<int32_t(const char *)> zn_encrypt_file_ex(__real_zn_encrypt_file_ex);
Double<int32_t(const char *)> zn_decrypt_file_ex(__real_zn_decrypt_file_ex);
Double<int32_t(const char *, uint8_t *)> md5_encrypt_file(__real_md5_encrypt_file);
Double<uint64_t(const char *)> os_file_size(__real_os_file_size);

}  // namespace doubles::base

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

uint64_t __wrap_os_file_size(const char *a) {
    return doubles::base::os_file_size(a);
}

}  // extern "C"
