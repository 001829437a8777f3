/*
 * Doubles of the base library's file cipher and digest, and of truncate.
 */
#pragma once

#include <sys/types.h>

#include "cipher.h"
#include "doubles/double.h"
#include "md5.h"

namespace doubles::base {

extern Double<int32_t(const char *)> zn_encrypt_file_ex;
extern Double<int32_t(const char *)> zn_decrypt_file_ex;
extern Double<int32_t(const char *, uint8_t *)> md5_encrypt_file;

}  // namespace doubles::base

namespace doubles::libc {

extern Double<int(const char *, off_t)> truncate;

}  // namespace doubles::libc
