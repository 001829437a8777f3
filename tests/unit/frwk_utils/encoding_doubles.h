/*
 * Doubles of the base library's encodings.
 */
#pragma once

#include "base64.h"
#include "cipher.h"
#include "doubles/double.h"

namespace doubles::base {

extern Double<char *(const void *, uint32_t)> base64_encrypt;
extern Double<void *(const char *, uint32_t, uint32_t *)> base64_decrypt;
extern Double<char *(const void *, uint32_t)> zn_encrypt_data;
extern Double<void *(const char *, uint32_t, uint32_t *)> zn_decrypt_data;

}  // namespace doubles::base
