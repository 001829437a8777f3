/*
 * libsodium, made ready on its first use. For the adapters of that library only.
 */
#pragma once

#include <sodium.h>

/* Returns false when the library can't be used. Any thread; the library's own lock lets one go first. */
inline bool sodium_ready() {
    return sodium_init() >= 0;
}
