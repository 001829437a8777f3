/*
 * Reading of JSON texts into a tree of items.
 *
 * Texts are read to the letter of RFC 8259: no comments, trailing commas, single quotes, NaN, leading zeros
 * or raw control characters, and nothing but blanks behind the value. Different trees may be used by
 * different threads at once, and one tree by several threads that only read it.
 */
#ifndef QUOR_JSON_H
#define QUOR_JSON_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* What is read at most, so that a text from outside the process can't exhaust the device. */
#define JSON_TEXT_MAX 16777216u /* bytes of a text: 16 MiB */
#define JSON_ITEMS_MAX 65536u   /* values of a text; an empty object or array is two */
#define JSON_DEPTH_MAX 64       /* objects and arrays that lie in each other */

/* A value of a tree: the root, or a member of an object. It lives as long as the root. */
typedef struct json_item json_item;

/*
 * Reads a text that holds one JSON value of any kind.
 *
 * text: UTF-8, NUL-terminated; null gives null. Of an object's members with the same name the last one
 * counts. A text with an escaped U+0000 in a string or name is refused, since what follows it would be
 * lost; half a surrogate pair reads as U+FFFD.
 * Returns the root, which the caller frees with json_free, or null when the text is not JSON, is longer
 * than JSON_TEXT_MAX, has more values than JSON_ITEMS_MAX, nests deeper than JSON_DEPTH_MAX, or there is no
 * memory to begin with. The value null is an item like any other.
 */
json_item *json_parse(const char *text);

/* Frees a root with all items and texts below it; null does nothing. root: never a member. */
void json_free(json_item *root);

/*
 * Finds a member of an object.
 *
 * object: may itself be a member; null and items that are not objects have no members.
 * name: compared byte for byte; null is a missing name.
 * Returns the member, which belongs to the tree, or null. A member whose value is null is found.
 */
json_item *json_get_object_item(const json_item *object, const char *name);

/* Returns 1 when item is a string, else 0. item: null gives 0. */
int32_t json_is_string(const json_item *item);

/* Returns the text of a string, which belongs to the tree; null for every other item and for null. */
const char *json_get_string(const json_item *item);

/*
 * Returns an item's value as an integer.
 *
 * A number written without a point and an exponent is exact; others lose their fraction. Numbers beyond
 * int64_t give its limit. true is 1; everything else, null included, is 0, strings too.
 */
int64_t json_get_int64(const json_item *item);

/*
 * Returns an item's value as a double.
 *
 * The nearest double of a number, infinite beyond the largest. true is 1; everything else is 0, strings too.
 */
double json_get_double(const json_item *item);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
