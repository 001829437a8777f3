/*
 * Converts JSON members to variables with the table of data types. Pure functions; any thread.
 *
 * The checks are those of frwk_str_to_value, in its order. They are written here again, since each logged
 * failure names the file of its call.
 */
#include "json.h"

#include <cstring>

#include "frwk_utils.h"
#include "frwk_utils/values/data_type.h"
#include "internal/frwk_log.h"
#include "text_copy.h"

namespace {

/* The text of a member that is not a string: usually none, but some base libraries have one. */
const char *text_of(const json_item *member) {
    const char *text = json_get_string(member);
    return text != nullptr ? text : "";
}

bool has_room(const DataType &type, const json_item *member, uint32_t size) {
    return type.is_text() ? std::strlen(text_of(member)) < size : size >= type.variable.size;
}

/* Returns false, with out unchanged, if the member's number is not a value of the type. */
bool extract(const DataType &type, const json_item *member, void *out) {
    if (type.is_text()) {
        const char *text = text_of(member);
        strsncpy(static_cast<char *>(out), text, std::strlen(text));
        return true;
    }
    return store_number(type, type.json_range, {json_get_int64(member), json_get_double(member)}, out);
}

}  // namespace

apps_err_e_type frwk_get_json_item_value(const json_item *object, int32_t type, const char *name, void *out,
                                         uint32_t size) {
    if (object == nullptr || name == nullptr) {
        FRWK_WARN(__func__, "parameter is null!");
        return E_APPS_ERR_PARAM;
    }

    const json_item *member = json_get_object_item(object, name);
    if (member == nullptr) {
        FRWK_WARN(__func__, "can't found json object(%s)!", name);
        return E_APPS_ERR_NOTFOUND;
    }
    if (json_is_string(member) != 0) {
        return frwk_str_to_value(type, json_get_string(member), out, size);
    }

    const DataType *row = find_data_type(type);
    if (row == nullptr) {
        FRWK_WARN(__func__, "unsupported data type[%d].", type);
        return E_APPS_ERR_PARAM;
    }
    if (!has_room(*row, member, size)) {
        FRWK_WARN_FAILED(__func__, row->fits.condition, row->fits.message);
        return E_APPS_ERR_OUTOFBUF;
    }
    if (out == nullptr) {
        FRWK_WARN(__func__, "parameter is null!");
        return E_APPS_ERR_PARAM;
    }
    if (!extract(*row, member, out)) {
        FRWK_WARN_FAILED(__func__, row->json_range.check.condition, row->json_range.check.message);
        return E_APPS_ERR_PARAM;
    }
    return E_APPS_ERR_SUCCESS;
}
