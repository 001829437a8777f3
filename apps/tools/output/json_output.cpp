#include "output/json_output.h"

#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "output/json_tokens.h"
#include "output/terminal.h"
#include "utf8_text.h"

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

struct TokenerRelease {
    void operator()(json_tokener *tokener) const { json_tokener_free(tokener); }
};
using Tokener = std::unique_ptr<json_tokener, TokenerRelease>;

std::string as_utf8(const std::string &text) {
    std::string clean;
    for (size_t at = 0; at < text.size();) {
        const size_t length = utf8_length(std::string_view(text).substr(at));
        clean += length > 0 ? text.substr(at, length) : kReplacement;
        at += length > 0 ? length : 1;
    }
    return clean;
}

void print_with(const Json &value, int flags) {
    const char *text = json_object_to_json_string_ext(value.get(), flags | JSON_C_TO_STRING_NOSLASHESCAPE);
    (void)std::puts(shown_json(Stream::kOutput, text).c_str());
}

}  // namespace

Json json_members() {
    return Json(json_object_new_object());
}

Json json_items() {
    return Json(json_object_new_array());
}

Json json_number(int64_t number) {
    return Json(json_object_new_int64(number));
}

Json json_truth(bool value) {
    return Json(json_object_new_boolean(value ? 1 : 0));
}

Json json_text(const std::string &text) {
    const std::string clean = as_utf8(text);
    return Json(json_object_new_string_len(clean.data(), static_cast<int>(clean.size())));
}

Json json_parsed(const std::string &text) {
    const Tokener tokener(json_tokener_new());
    if (!has_json_tokens(text.c_str()) || !tokener) {
        return nullptr;
    }
    json_tokener_set_flags(tokener.get(), JSON_TOKENER_STRICT | JSON_TOKENER_VALIDATE_UTF8);
    const int length =
        static_cast<int>(std::strlen(text.c_str())) + 1; /* including the NUL, which ends a number */
    Json value(json_tokener_parse_ex(tokener.get(), text.c_str(), length));
    const bool whole = json_tokener_get_error(tokener.get()) == json_tokener_success;
    return whole ? std::move(value) : nullptr;
}

Json json_word(const std::string &word) {
    Json parsed = json_parsed(word);
    const json_type type = json_object_get_type(parsed.get());
    const bool fits = type == json_type_int || type == json_type_boolean || type == json_type_double;
    return fits ? std::move(parsed) : json_text(word);
}

void add_member(const Json &object, const std::string &name, Json value) {
    json_object_object_add(object.get(), as_utf8(name).c_str(), value.release());
}

void add_item(const Json &array, Json value) {
    json_object_array_add(array.get(), value.release());
}

void print_json(const Json &value) {
    print_with(value, JSON_C_TO_STRING_PRETTY | JSON_C_TO_STRING_SPACED);
}

void print_json_line(const Json &value) {
    print_with(value, JSON_C_TO_STRING_PLAIN);
}
