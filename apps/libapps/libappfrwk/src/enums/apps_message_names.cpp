/*
 * The name table of the message identifiers, generated from apps_message.def.
 */
#include "apps_message.h"

#include "name_index.h"

extern "C" {

constexpr zn_enum_item g_enum_apps_message_id_e_type[APPS_MESSAGE_ID_COUNT] = {
#define APPS_MESSAGE_ID(name, value) {(name), #name, 0xFFFFFFFFu},
#include "apps_message.def"
#undef APPS_MESSAGE_ID
};
}

namespace {

constexpr auto kIndex = name_index::make(g_enum_apps_message_id_e_type);

}  // namespace

const char *zn_enum_to_str_apps_message_id_e_type(int32_t value) {
    return name_index::name_of(g_enum_apps_message_id_e_type, kIndex, value);
}

int32_t zn_str_to_enum_apps_message_id_e_type(const char *name) {
    return name_index::value_of(g_enum_apps_message_id_e_type, kIndex, name);
}
