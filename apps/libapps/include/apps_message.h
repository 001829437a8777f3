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
 * A message identifier. A word of fixed size, since it travels between processes and may hold an
 * identifier that this library has never heard of.
 */
typedef int32_t apps_message_id_e_type;

/* The identifiers that have a name; apps_message.def lists them. */
enum {
#define APPS_MESSAGE_ID(name, value) name = (value),
#include "apps_message.def"
#undef APPS_MESSAGE_ID
    APPS_MESSAGE_ID_COUNT = 549 /* rows of the list; not an identifier */
};

/* The name table, in the order of the list. */
extern const zn_enum_item g_enum_apps_message_id_e_type[APPS_MESSAGE_ID_COUNT];

/*
 * Returns the name of a message identifier. What a number without a name gives is the base library's
 * business: ours gives "unknown", a device's own may give null. May be called from any thread.
 */
const char *zn_enum_to_str_apps_message_id_e_type(int32_t value);

/*
 * Returns the message identifier that has this name, or -1. name: null gives -1. May be called from any
 * thread.
 */
int32_t zn_str_to_enum_apps_message_id_e_type(const char *name);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
