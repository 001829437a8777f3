/*
 * Doubles of the base library's file cipher and digest, and of its size of a file, which only a backup asks
 * for.
 */
#pragma once

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/types.h>

#include "cipher.h"
#include "doubles/double.h"
#include "md5.h"

namespace doubles::base {

extern Double<int32_t(const char *)> zn_encrypt_file_ex;
extern Double<int32_t(const char *)> zn_decrypt_file_ex;
extern Double<int32_t(const char *, uint8_t *)> md5_encrypt_file;
extern Double<uint64_t(const char *)> os_file_size;

}  // namespace doubles::base
