/*
 * Name tables of enumerations, searched by value and by name.
 */
#include "enum_name.h"

#include <cstring>

namespace {

constexpr char kUnknownName[] = "unknown";
constexpr int32_t kUnknownValue = -1;

}  // namespace

const char *zn_enum_to_string(const zn_enum_item *table, uint32_t count, int32_t value) {
    for (uint32_t row = 0; row < count; ++row) {
        if (table[row].value == value) {
            return table[row].name;
        }
    }
    return kUnknownName;
}

int32_t zn_string_to_enum(const zn_enum_item *table, uint32_t count, const char *name) {
    if (name == nullptr) {
        return kUnknownValue;
    }
    for (uint32_t row = 0; row < count; ++row) {
        if (strcmp(table[row].name, name) == 0) {
            return table[row].value;
        }
    }
    return kUnknownValue;
}
