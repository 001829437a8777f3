/*
 * Name tables of enumerations: a value's name, and a name's value. Every function may be called from
 * any thread.
 */
#ifndef QUOR_ENUM_NAME_H
#define QUOR_ENUM_NAME_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* One enumerator: three words on the device. */
typedef struct zn_enum_item {
    int32_t value;
    const char *name;
    uint32_t reserved; /* always 0xFFFFFFFF */
} zn_enum_item;

/*
 * Finds a value's name.
 *
 * table: count rows, searched in order.
 * Returns the name of the first row that has the value, or "unknown"; never null. The text is the
 * table's.
 */
const char *zn_enum_to_string(const zn_enum_item *table, uint32_t count, int32_t value);

/*
 * Finds a name's value.
 *
 * table: count rows, searched in order. name: compared byte for byte; null is an unknown name.
 * Returns the value of the first row that has the name, or -1.
 */
int32_t zn_string_to_enum(const zn_enum_item *table, uint32_t count, const char *name);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
