/*
 * Prints JSON for scripts: one indented value on standard output, with a line end.
 */
#pragma once

#include <json-c/json.h>

#include <memory>
#include <string>

struct JsonRelease {
    void operator()(json_object *value) const { json_object_put(value); }
};
using Json = std::unique_ptr<json_object, JsonRelease>;

Json json_members();
Json json_items();
Json json_number(int64_t number);
Json json_truth(bool value);

/* A text; bytes that are not UTF-8 become U+FFFD. */
Json json_text(const std::string &text);

/* The value of a JSON text; null if it is not JSON. */
Json json_parsed(const std::string &text);

/* A number or a boolean, unchanged, or a text if it is neither (such as "inf"). */
Json json_word(const std::string &word);

void add_member(const Json &object, const std::string &name, Json value);
void add_item(const Json &array, Json value);

void print_json(const Json &value);

/* The same in one line, for a stream of values. */
void print_json_line(const Json &value);
