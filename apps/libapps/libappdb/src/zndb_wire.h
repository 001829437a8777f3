/*
 * The bodies of the requests to the configuration database, shared by its client and its service.
 *
 * The body of a get or delete is the key with its NUL; a save or reset has no body.
 */
#pragma once

#include <cstddef>

#include "zndb.h"

/* The module's limit for each request, in seconds. */
inline constexpr unsigned kZndbTimeoutSeconds = 3;

/* The body of a set: both texts are NUL-terminated, the rest of each field is zero. */
struct zndb_kv_t {
    char key[ZNDB_KEY_LEN];
    char value[ZNDB_VALUE_LEN];
};

static_assert(sizeof(zndb_kv_t) == 1056);
static_assert(offsetof(zndb_kv_t, value) == 32);
