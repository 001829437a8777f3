/*
 * The bodies of the requests to the configuration database and of its answers, as its clients and its service
 * write and read them. A save or reset has none. docs/zndb.md and docs/ipc-protocol.md describe the messages.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "apps_err.h"
#include "apps_message.h"
#include "formats/entry_line.h"
#include "zndb.h"

/* The module's limit for each request, in seconds. */
inline constexpr unsigned kZndbTimeoutSeconds = 3;

/*
 * The event of a store's file that was damaged, with the name under which it was set aside as its body, a
 * text with its NUL. Its identifier is none of the public ones.
 */
inline constexpr char kStoreDamagedEvent[] = "ZNDB_STORE_DAMAGED";
inline constexpr apps_message_id_e_type kStoreDamagedMessage = 2103;

/* The body of a set: both texts are NUL-terminated, the rest of each field is zero. */
struct zndb_kv_t {
    char key[ZNDB_KEY_LEN];
    char value[ZNDB_VALUE_LEN];
};

static_assert(sizeof(zndb_kv_t) == 1056);
static_assert(offsetof(zndb_kv_t, value) == 32);

/* The answer to a save of both stores, for a sender that has room for it. */
struct SaveResults {
    apps_err_e_type plain; /* 0 also for a store without changes */
    apps_err_e_type perm;
};

static_assert(sizeof(SaveResults) == 8);
static_assert(offsetof(SaveResults, perm) == 4);

/* The body of a set. The texts must fit their fields, each with a NUL. */
zndb_kv_t set_body(const Entry &entry);

/*
 * Reads the body of a set: of the right size, a NUL in each field.
 * entry: receives the texts, which point into body; unchanged on failure.
 * Returns false for a body of another form, as for none.
 */
bool read_set_body(const void *body, int32_t size, Entry &entry);

/* The body of a get or delete: the key with its NUL, so many bytes of it. */
constexpr size_t key_body_size(std::string_view key) {
    return key.size() + 1;
}

/* Reads the body of a get or delete, as read_set_body: a key that is not empty, its NUL, and nothing more. */
bool read_key_body(const void *body, int32_t size, std::string_view &key);
