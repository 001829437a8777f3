/*
 * Name tables of enumerations, searched by value and by name. Every function may be called from any thread.
 */
#ifndef QUOR_ENUM_NAME_H
#define QUOR_ENUM_NAME_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* One enumerator: three 32-bit words on the device. */
typedef struct zn_enum_item {
    int32_t value;
    const char *name;
    uint32_t reserved; /* always 0xFFFFFFFF */
} zn_enum_item;

/*
 * Finds a value's name.
 *
 * table: count rows, searched in order.
 * Returns the name of the first row with the value, or "unknown"; never null. The text belongs to the
 * table.
 */
const char *zn_enum_to_string(const zn_enum_item *table, uint32_t count, int32_t value);

/*
 * Finds a name's value.
 *
 * table: count rows, searched in order. name: case-sensitive; null is an unknown name.
 * Returns the value of the first row with the name, or -1.
 */
int32_t zn_string_to_enum(const zn_enum_item *table, uint32_t count, const char *name);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
