/*
 * The calls of json.h over a maker's own document, which has numbers of 32 bits only.
 */
#include <stddef.h>
#include <string.h>

#include "json.h"

struct json_item {
    const char *name;
    const char *text; /* null for a number */
    int number;
};

static json_item g_members[] = {{"text", "seven", 0}, {"number", NULL, -1}, {"half", NULL, 0}};

json_item *maker_json_read(const char *text);
json_item *maker_json_fail(const char *text);

#pragma GCC visibility push(default)
json_item *maker_json_read(const char *text) {
    return strstr(text, "seven") != NULL ? g_members : NULL;
}

json_item *maker_json_fail(const char *text) {
    (void)text;
    return NULL;
}
#pragma GCC visibility pop

json_item *json_get_object_item(const json_item *object, const char *name) {
    (void)object;
    for (size_t i = 0; i < sizeof(g_members) / sizeof(g_members[0]); i++) {
        if (strcmp(g_members[i].name, name) == 0) {
            return &g_members[i];
        }
    }
    return NULL;
}

int32_t json_is_string(const json_item *item) {
    return item->text != NULL;
}

const char *json_get_string(const json_item *item) {
    return item->text;
}

int64_t json_get_int64(const json_item *item) {
    return item->number;
}

double json_get_double(const json_item *item) {
    return item->number;
}
