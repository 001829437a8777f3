/*
 * Parses JSON with json-c. Only this file uses that library.
 *
 * An item's handle is the library's pointer. The library represents the value null by a null pointer; this
 * file uses a special item for it. The library may end the process when it runs out of memory while it builds
 * a tree, so this file limits the tree's size before it passes the text on.
 */
#include "json.h"

#include <json-c/json_object.h>
#include <json-c/json_tokener.h>

#include <cstring>
#include <limits>
#include <memory>

#include "json_text.h"

namespace {

/* The library counts the root as a level. */
constexpr int kTokenerDepth = JSON_DEPTH_MAX + 1;

char g_null_item;

struct FreeTokener {
    void operator()(json_tokener *tokener) const { json_tokener_free(tokener); }
};

struct FreeObject {
    void operator()(json_object *object) const { json_object_put(object); }  // GCOVR_EXCL_LINE: inlined
};

using Tokener = std::unique_ptr<json_tokener, FreeTokener>;
using Object = std::unique_ptr<json_object, FreeObject>;

json_item *handle_of(json_object *object) {
    return object != nullptr ? reinterpret_cast<json_item *>(object)
                             : reinterpret_cast<json_item *>(&g_null_item);
}

/* Returns null for the value null and for a null item. */
json_object *object_of(const json_item *item) {
    if (item == reinterpret_cast<json_item *>(&g_null_item)) {
        return nullptr;
    }
    return reinterpret_cast<json_object *>(const_cast<json_item *>(item));
}

Tokener make_tokener() {
    Tokener tokener(json_tokener_new_ex(kTokenerDepth));
    if (tokener) {
        json_tokener_set_flags(tokener.get(), JSON_TOKENER_STRICT | JSON_TOKENER_VALIDATE_UTF8);
    }
    return tokener;
}

/* Returns true while the library waits for more. */
bool feed(json_tokener *tokener, const char *from, size_t length) {
    const Object early(json_tokener_parse_ex(tokener, from, static_cast<int>(length)));
    return json_tokener_get_error(tokener) == json_tokener_continue;
}

/* The library would clamp an integer beyond its range. Parsed as a double, it keeps its magnitude. */
bool feed_as_double(json_tokener *tokener, const char *from, const char *to) {
    return feed(tokener, from, static_cast<size_t>(to - from)) && feed(tokener, ".0", 2);
}

/*
 * Returns the root, or null with *ok false; null with *ok true is the value null. The library also reports
 * success if it runs out of memory before the first character.
 */
Object finish(json_tokener *tokener, const char *from, const char *end, bool *ok) {
    Object root(json_tokener_parse_ex(tokener, from, static_cast<int>(end - from) + 1));
    const bool has_read = root || json_tokener_get_parse_end(tokener) > 0;
    *ok = has_read && json_tokener_get_error(tokener) == json_tokener_success;
    return root;
}

/* Same results as finish. */
Object parse_text(json_tokener *tokener, const char *text, bool *ok) {
    using json_text::Token;
    const char *fed = text;
    const char *at = text;
    for (uint32_t items = 1;;) {
        const Token token = json_text::skip_token(&at);
        items += token == Token::kBeforeItem ? 1 : 0;
        if (token == Token::kBad || items > JSON_ITEMS_MAX) {
            return nullptr;
        }
        if (token == Token::kEnd) {
            return finish(tokener, fed, at, ok);
        }
        if (token == Token::kLongInteger) {
            if (!feed_as_double(tokener, fed, at)) {
                return nullptr;
            }
            fed = at;
        }
    }
}

int64_t saturated(double number) {
    constexpr double kBeyond = 9223372036854775808.0;
    if (number >= kBeyond) {
        return std::numeric_limits<int64_t>::max();
    }
    if (number < -kBeyond) {
        return std::numeric_limits<int64_t>::min();
    }
    return static_cast<int64_t>(number);
}

}  // namespace

json_item *json_parse(const char *text) {
    if (text == nullptr || strnlen(text, JSON_TEXT_MAX + 1) > JSON_TEXT_MAX) {
        return nullptr;
    }
    const Tokener tokener = make_tokener();
    if (!tokener) {
        return nullptr;
    }

    bool ok = false;
    Object root = parse_text(tokener.get(), text, &ok);
    return ok ? handle_of(root.release()) : nullptr;
}

void json_free(json_item *root) {
    json_object_put(object_of(root));
}

json_item *json_get_object_item(const json_item *object, const char *name) {
    json_object *parent = object_of(object);
    if (name == nullptr || !json_object_is_type(parent, json_type_object)) {
        return nullptr;
    }
    json_object *member = nullptr;
    return json_object_object_get_ex(parent, name, &member) != 0 ? handle_of(member) : nullptr;
}

int32_t json_is_string(const json_item *item) {
    return json_object_is_type(object_of(item), json_type_string) != 0 ? 1 : 0;
}

const char *json_get_string(const json_item *item) {
    return json_is_string(item) != 0 ? json_object_get_string(object_of(item)) : nullptr;
}

int64_t json_get_int64(const json_item *item) {
    const json_object *object = object_of(item);
    switch (json_object_get_type(object)) {
        case json_type_boolean:
        case json_type_int:
            return json_object_get_int64(object);
        case json_type_double:
            return saturated(json_object_get_double(object));
        default:
            return 0;
    }
}

double json_get_double(const json_item *item) {
    const json_object *object = object_of(item);
    switch (json_object_get_type(object)) {
        case json_type_boolean:
        case json_type_int:
        case json_type_double:
            return json_object_get_double(object);
        default:
            return 0;
    }
}
