/*
 * JSON members as variables, by the table of data types. Pure functions; any thread.
 */
#include "json.h"

#include "frwk_utils.h"
#include "frwk_utils/data_type.h"
#include "internal/frwk_log.h"

namespace {

/* A member that is no string. Some systems' readers keep a text for these too. */
TypeOutcome extract(const DataType &type, const json_item *member, void *out, uint32_t size) {
    if (type.is_text()) {
        const char *text = json_get_string(member);
        return store_text(type, text != nullptr ? text : "", out, size);
    }
    if (size < type.variable.size) {
        return {E_APPS_ERR_OUTOFBUF, type.fits};
    }
    return store_number(type, type.json_range, {json_get_int64(member), json_get_double(member)}, out);
}

}  // namespace

apps_err_e_type frwk_get_json_item_value(const json_item *object, int32_t type, const char *name, void *out,
                                         uint32_t size) {
    if (object == nullptr || name == nullptr) {
        FRWK_WARN("parameter is null!");
        return E_APPS_ERR_PARAM;
    }

    const json_item *member = json_get_object_item(object, name);
    if (member == nullptr) {
        FRWK_WARN("can't found json object(%s)!", name);
        return E_APPS_ERR_NOTFOUND;
    }
    if (json_is_string(member) != 0) {
        return frwk_str_to_value(type, json_get_string(member), out, size);
    }

    if (out == nullptr && size > 0) {
        FRWK_WARN("parameter is null!");
        return E_APPS_ERR_PARAM;
    }
    const DataType *row = find_data_type(type);
    if (row == nullptr) {
        FRWK_WARN("unsupported data type[%d].", type);
        return E_APPS_ERR_PARAM;
    }

    const TypeOutcome outcome = extract(*row, member, out, size);
    if (outcome.result != E_APPS_ERR_SUCCESS) {
        FRWK_ASSERT(false, outcome.failed.condition, outcome.failed.message);
    }
    return outcome.result;
}
