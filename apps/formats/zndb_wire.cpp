#include "formats/zndb_wire.h"

#include <cstring>

#include "formats/text_field.h"

zndb_kv_t set_body(const Entry &entry) {
    zndb_kv_t body = {};
    std::memcpy(body.key, entry.key.data(), entry.key.size());
    std::memcpy(body.value, entry.value.data(), entry.value.size());
    return body;
}

bool read_set_body(const void *body, int32_t size, Entry &entry) {
    if (body == nullptr || size != static_cast<int32_t>(sizeof(zndb_kv_t))) {
        return false;
    }
    const auto *bytes = static_cast<const char *>(body);
    Entry read;
    if (!field_text(bytes + offsetof(zndb_kv_t, key), ZNDB_KEY_LEN, read.key) ||
        !field_text(bytes + offsetof(zndb_kv_t, value), ZNDB_VALUE_LEN, read.value)) {
        return false;
    }
    entry = read;
    return true;
}

bool read_key_body(const void *body, int32_t size, std::string_view &key) {
    if (body == nullptr || size < 2 || size > ZNDB_KEY_LEN) {
        return false;
    }
    std::string_view read;
    const auto length = static_cast<size_t>(size);
    if (!field_text(static_cast<const char *>(body), length, read) || key_body_size(read) != length) {
        return false;
    }
    key = read;
    return true;
}
