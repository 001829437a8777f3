/*
 * Result codes, shared by all modules, and their names.
 */
#ifndef QUOR_APPS_ERR_H
#define QUOR_APPS_ERR_H

#include <stdint.h>

#include "enum_name.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * A result code. An integer of fixed size, since it is sent between processes and may have a value that this
 * library doesn't know.
 */
typedef int32_t apps_err_e_type;

/* The codes that have a name; apps_err.def lists them. */
enum {
#define APPS_ERR_CODE(name, value) name = (value),
#include "apps_err.def"
#undef APPS_ERR_CODE
/* Not a code: each row of the list counts one. */
/* NOLINTNEXTLINE(bugprone-macro-parentheses): the rows are the terms of one sum. */
#define APPS_ERR_CODE(name, value) +1
    APPS_ERR_CODE_COUNT = 0
#include "apps_err.def"
#undef APPS_ERR_CODE
};

/* The name table, in the order of the list. */
extern const zn_enum_item g_enum_apps_err_e_type[APPS_ERR_CODE_COUNT];

/*
 * Returns the name of a result code. For a number without a name our base library returns "unknown"; a
 * device's own may return null. Any thread.
 */
const char *zn_enum_to_str_apps_err_e_type(int32_t value);

/* Returns the result code with this name, or -1. name: -1 is returned for null. Any thread. */
int32_t zn_str_to_enum_apps_err_e_type(const char *name);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
