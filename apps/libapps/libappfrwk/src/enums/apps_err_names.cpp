/*
 * The name table of the result codes, generated from apps_err.def.
 */
#include "apps_err.h"

extern "C" {

const zn_enum_item g_enum_apps_err_e_type[APPS_ERR_CODE_COUNT] = {
#define APPS_ERR_CODE(name, value) {(name), #name, 0xFFFFFFFFu},
#include "apps_err.def"
#undef APPS_ERR_CODE
};
}

const char *zn_enum_to_str_apps_err_e_type(int32_t value) {
    return zn_enum_to_string(g_enum_apps_err_e_type, APPS_ERR_CODE_COUNT, value);
}

int32_t zn_str_to_enum_apps_err_e_type(const char *name) {
    return zn_string_to_enum(g_enum_apps_err_e_type, APPS_ERR_CODE_COUNT, name);
}
