/*
 * The name table of the message identifiers, generated from apps_message.def.
 */
#include "apps_message.h"

extern "C" {

const zn_enum_item g_enum_apps_message_id_e_type[APPS_MESSAGE_ID_COUNT] = {
#define APPS_MESSAGE_ID(name, value) {(name), #name, 0xFFFFFFFFu},
#include "apps_message.def"
#undef APPS_MESSAGE_ID
};
}

const char *zn_enum_to_str_apps_message_id_e_type(int32_t value) {
    return zn_enum_to_string(g_enum_apps_message_id_e_type, APPS_MESSAGE_ID_COUNT, value);
}

int32_t zn_str_to_enum_apps_message_id_e_type(const char *name) {
    return zn_string_to_enum(g_enum_apps_message_id_e_type, APPS_MESSAGE_ID_COUNT, name);
}
