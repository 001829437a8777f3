#include "json_output.h"

#include <cstdio>

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

bool continues(const std::string &text, size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0u) == 0x80u;
}

/* The lowest and highest second byte that may follow a lead byte: shuts out overlong forms, surrogates and
 * what lies beyond U+10FFFF. */
bool second_byte_fits(unsigned lead, unsigned second) {
    switch (lead) {
        case 0xE0:
            return second >= 0xA0;
        case 0xED:
            return second < 0xA0;
        case 0xF0:
            return second >= 0x90;
        case 0xF4:
            return second < 0x90;
        default:
            return true;
    }
}

/* Bytes of the character that begins at a place, 0 when they are no UTF-8. */
size_t character_length(const std::string &text, size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    for (size_t i = 1; i < length; ++i) {
        if (!continues(text, at + i)) {
            return 0;
        }
    }
    return second_byte_fits(lead, static_cast<unsigned char>(text[at + 1])) ? length : 0;
}

std::string as_utf8(const std::string &text) {
    std::string clean;
    for (size_t at = 0; at < text.size();) {
        const size_t length = character_length(text, at);
        clean += length > 0 ? text.substr(at, length) : kReplacement;
        at += length > 0 ? length : 1;
    }
    return clean;
}

void print_with(const Json &value, int flags) {
    (void)std::puts(json_object_to_json_string_ext(value.get(), flags | JSON_C_TO_STRING_NOSLASHESCAPE));
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

Json json_text(const std::string &text) {
    const std::string clean = as_utf8(text);
    return Json(json_object_new_string_len(clean.data(), static_cast<int>(clean.size())));
}

Json json_word(const std::string &word) {
    Json parsed(json_tokener_parse(word.c_str()));
    const bool fits =
        json_object_is_type(parsed.get(), json_type_int) ||
        json_object_is_type(parsed.get(), json_type_boolean) ||
        (json_object_is_type(parsed.get(), json_type_double) && word.find_first_of("nN") == word.npos);
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
