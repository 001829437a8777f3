/*
 * Doubles of where random bytes come from, and of the wiping of memory.
 */
#pragma once

#include <sys/types.h>

#include <cstddef>

#include "doubles/double.h"

namespace doubles::secrets {

extern Double<void(void *, size_t)> sodium_memzero;

}  // namespace doubles::secrets
