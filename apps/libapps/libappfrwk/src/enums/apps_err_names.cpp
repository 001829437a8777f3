/*
 * The name table of the result codes, generated from apps_err.def.
 */
#include "apps_err.h"

#include "name_index.h"

extern "C" {

constexpr zn_enum_item g_enum_apps_err_e_type[APPS_ERR_CODE_COUNT] = {
#define APPS_ERR_CODE(name, value) {(name), #name, 0xFFFFFFFFu},
#include "apps_err.def"
#undef APPS_ERR_CODE
};
}

namespace {

constexpr auto kIndex = name_index::make(g_enum_apps_err_e_type);

}  // namespace

const char *zn_enum_to_str_apps_err_e_type(int32_t value) {
    return name_index::name_of(g_enum_apps_err_e_type, kIndex, value);
}

int32_t zn_str_to_enum_apps_err_e_type(const char *name) {
    return name_index::value_of(g_enum_apps_err_e_type, kIndex, name);
}
