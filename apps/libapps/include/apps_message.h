/*
 * Message identifiers, shared by all modules, and their names.
 */
#ifndef QUOR_APPS_MESSAGE_H
#define QUOR_APPS_MESSAGE_H

#include <stdint.h>

#include "enum_name.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * A message identifier. An integer of fixed size, since it is sent between processes and may have a value
 * that this library doesn't know.
 */
typedef int32_t apps_message_id_e_type;

/* The identifiers that have a name; apps_message.def lists them. */
enum {
#define APPS_MESSAGE_ID(name, value) name = (value),
#include "apps_message.def"
#undef APPS_MESSAGE_ID
/* Not an identifier: each row of the list counts one. */
/* NOLINTNEXTLINE(bugprone-macro-parentheses): the rows are the terms of one sum. */
#define APPS_MESSAGE_ID(name, value) +1
    APPS_MESSAGE_ID_COUNT = 0
#include "apps_message.def"
#undef APPS_MESSAGE_ID
};

/* The name table, in the order of the list. */
extern const zn_enum_item g_enum_apps_message_id_e_type[APPS_MESSAGE_ID_COUNT];

/*
 * Returns the name of a message identifier. For a number without a name our base library returns "unknown"; a
 * device's own may return null. Any thread.
 */
const char *zn_enum_to_str_apps_message_id_e_type(int32_t value);

/*
 * Returns the message identifier with this name, or -1. name: -1 is returned for null. Any thread.
 */
int32_t zn_str_to_enum_apps_message_id_e_type(const char *name);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
