/*
 * Parses JSON texts into a tree of items.
 *
 * The parser accepts exactly RFC 8259: no comments, trailing commas, single quotes, NaN, leading zeros
 * or raw control characters, and only blanks after the value. Threads may use different trees concurrently,
 * and several threads may read the same tree.
 */
#ifndef QUOR_JSON_H
#define QUOR_JSON_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Limits, so that a text from outside the process can't exhaust the memory. */
#define JSON_TEXT_MAX 16777216u /* bytes of a text: 16 MiB */
#define JSON_ITEMS_MAX 65536u   /* values of a text; an empty object or array counts as two */
#define JSON_DEPTH_MAX 64       /* nesting depth of objects and arrays */

/* A value of a tree: the root, or a member of an object. It lives as long as the root. */
typedef struct json_item json_item;

/*
 * Parses a text with one JSON value of any kind.
 *
 * text: UTF-8, NUL-terminated; null gives null. If members of an object have the same name, the last one
 * counts. A text with an escaped U+0000 in a string or name is refused, since the text after it would be
 * lost; half a surrogate pair becomes U+FFFD.
 * Returns the root, which the caller frees with json_free, or null if the text is not JSON, is longer
 * than JSON_TEXT_MAX, has more values than JSON_ITEMS_MAX, nests deeper than JSON_DEPTH_MAX, or there is no
 * memory to start parsing. The value null is an item like any other.
 */
json_item *json_parse(const char *text);

/* Frees a tree with all its items and texts; null does nothing. root: the root, not a member. */
void json_free(json_item *root);

/*
 * Finds a member of an object.
 *
 * object: may be a member of another object; null and items that are not objects have no members.
 * name: case-sensitive; null is an unknown name.
 * Returns the member, which belongs to the tree, or null. A member whose value is null is found too.
 */
json_item *json_get_object_item(const json_item *object, const char *name);

/* Returns 1 if item is a string, else 0. item: null gives 0. */
int32_t json_is_string(const json_item *item);

/* Returns the text of a string, which belongs to the tree; null for every other item and for null. */
const char *json_get_string(const json_item *item);

/*
 * Returns an item's value as an integer.
 *
 * A number without decimal point and exponent is exact; other numbers lose their fraction. Numbers beyond
 * int64_t give its limit. true is 1; everything else, including strings and null, is 0.
 */
int64_t json_get_int64(const json_item *item);

/*
 * Returns an item's value as a double.
 *
 * A number gives the nearest double, or infinity beyond the largest. true is 1; everything else, including
 * strings and null, is 0.
 */
double json_get_double(const json_item *item);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
