/*
 * Typed variables in the configuration database: each call sends one request and converts one value.
 *
 * Stored values may be secrets, so they are logged only at the debug level.
 */
#include "frwk_utils/values/typed_text.h"
#include "internal/frwk_log.h"
#include "zndb.h"

namespace {

using Store = int (*)(const char *key, const char *value);

apps_err_e_type get_number(const char *key, int32_t type, void *out, uint32_t size) {
    char text[kTypedTextSize] = {};
    const int got = zndb_get(key, text, sizeof(text));
    if (got != E_ZNDB_RET_SUCCESS) {
        return frwk_zndb_error_convert(got);
    }

    const apps_err_e_type ret = frwk_str_to_value(type, text, out, size);
    if (ret != E_APPS_ERR_SUCCESS) {
        FRWK_WARN(log_name::kZndbGetKeyValue, "the value of '%s' can't be read as type %d!", key, type);
        FRWK_DEBUG(log_name::kZndbGetKeyValue, "'%s' frwk_str_to_value(%s)!", key, text);
    }
    return ret;
}

/* caller: the function name in the log lines. */
apps_err_e_type set_typed(LogName caller, Store store, const char *key, int32_t type, const void *value) {
    if (key == nullptr) {
        FRWK_WARN(caller, "parameter is null!");
        return E_APPS_ERR_PARAM;
    }
    TypedText typed;
    const apps_err_e_type ret = typed.assign(caller, type, value);
    if (ret != E_APPS_ERR_SUCCESS) {
        return ret;
    }
    return frwk_zndb_error_convert(store(key, typed.text()));
}

}  // namespace

apps_err_e_type frwk_zndb_get_key_value(const char *key, int32_t type, void *out, uint32_t size) {
    if (key == nullptr || out == nullptr) {
        FRWK_WARN(__func__, "parameter is null!");
        return E_APPS_ERR_PARAM;
    }
    if (is_text_type(type)) {
        return frwk_zndb_error_convert(zndb_get(key, static_cast<char *>(out), size));
    }
    return get_number(key, type, out, size);
}

apps_err_e_type frwk_zndb_set_key_value(const char *key, int32_t type, const void *value) {
    return set_typed(__func__, zndb_set, key, type, value);
}

apps_err_e_type frwk_zndb_set_key_perm_value(const char *key, int32_t type, const void *value) {
    return set_typed(__func__, zndb_set_perm_data, key, type, value);
}

bool frwk_zndb_get_bool(const char *key) {
    uint8_t value = 0;
    (void)frwk_zndb_get_key_value(key, FRWK_DATA_TYPE_BOOL, &value, sizeof(value));
    return value != 0;
}
