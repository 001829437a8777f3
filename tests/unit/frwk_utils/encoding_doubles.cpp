/*
 * Where calls of the encodings arrive, and how they go on.
 */
#include "unit/frwk_utils/encoding_doubles.h"

extern "C" {

char *__real_base64_encrypt(const void *, uint32_t);
void *__real_base64_decrypt(const char *, uint32_t, uint32_t *);
char *__real_zn_encrypt_data(const void *, uint32_t);
void *__real_zn_decrypt_data(const char *, uint32_t, uint32_t *);

}  // extern "C"

namespace doubles::base {

Double<char *(const void *, uint32_t)> base64_encrypt(__real_base64_encrypt);
Double<void *(const char *, uint32_t, uint32_t *)> base64_decrypt(__real_base64_decrypt);
Double<char *(const void *, uint32_t)> zn_encrypt_data(__real_zn_encrypt_data);
Double<void *(const char *, uint32_t, uint32_t *)> zn_decrypt_data(__real_zn_decrypt_data);

}  // namespace doubles::base

extern "C" {

char *__wrap_base64_encrypt(const void *a, uint32_t b) {
    return doubles::base::base64_encrypt(a, b);
}

void *__wrap_base64_decrypt(const char *a, uint32_t b, uint32_t *c) {
    return doubles::base::base64_decrypt(a, b, c);
}

char *__wrap_zn_encrypt_data(const void *a, uint32_t b) {
    return doubles::base::zn_encrypt_data(a, b);
}

void *__wrap_zn_decrypt_data(const char *a, uint32_t b, uint32_t *c) {
    return doubles::base::zn_decrypt_data(a, b, c);
}

}  // extern "C"
