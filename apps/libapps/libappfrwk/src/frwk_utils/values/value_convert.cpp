/*
 * Converts variables to texts and texts to variables with the table of data types. Pure functions; any
 * thread.
 */
#include <cstring>

#include "frwk_utils.h"
#include "frwk_utils/values/data_type.h"
#include "internal/frwk_log.h"
#include "support/letter_case.h"
#include "support/owned_block.h"
#include "text_copy.h"

namespace {

/* The size of a text's buffer is signed on the device, so 2 GiB or more count as too small. */
bool has_room(const DataType &type, const char *text, uint32_t size) {
    if (!type.is_text()) {
        return size >= type.variable.size;
    }
    return static_cast<int32_t>(size) > 0 && std::strlen(text) < size;
}

/* Returns false, with out unchanged, if the text is not a value of the type. */
bool convert(const DataType &type, const char *text, void *out) {
    if (type.is_text()) {
        strsncpy(static_cast<char *>(out), text, std::strlen(text));
        return true;
    }
    TypedValue value;
    return type.read(text, &value) && store_number(type, type.text_range, value, out);
}

/* Returns the text of a value; a number's text is written to number. */
const char *text_of(const DataType &type, const void *value, char (&number)[kNumberTextSize]) {
    if (type.is_text()) {
        return value != nullptr ? static_cast<const char *>(value) : "";
    }
    type.variable.format(value, number);
    return number;
}

}  // namespace

apps_err_e_type frwk_str_to_value(int32_t type, const char *text, void *out, uint32_t size) {
    const DataType *row = find_data_type(type);
    if (row == nullptr) {
        FRWK_WARN(__func__, "unsupported data type[%d].", type);
        return E_APPS_ERR_PARAM;
    }

    const char *content = text != nullptr ? text : "";
    if (!has_room(*row, content, size)) {
        FRWK_WARN_FAILED(__func__, row->fits.condition, row->fits.message);
        return E_APPS_ERR_OUTOFBUF;
    }
    if (out == nullptr) {
        FRWK_WARN(__func__, "parameter is null!");
        return E_APPS_ERR_PARAM;
    }
    if (!convert(*row, content, out)) {
        FRWK_WARN_FAILED(__func__, row->text_range.check.condition, row->text_range.check.message);
        return E_APPS_ERR_PARAM;
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type frwk_value_to_str(int32_t type, const void *value, char *buf, int32_t size) {
    if (buf == nullptr) {
        FRWK_WARN(__func__, "parameter is null!");
        return E_APPS_ERR_PARAM;
    }
    const DataType *row = find_data_type(type);
    if (row == nullptr) {
        FRWK_WARN(__func__, "unsupported data type[%d].", type);
        return E_APPS_ERR_PARAM;
    }
    if (value == nullptr && !row->is_text()) {
        FRWK_WARN(__func__, "parameter is null!");
        return E_APPS_ERR_PARAM;
    }

    char number[kNumberTextSize];
    const char *text = text_of(*row, value, number);
    const size_t length = std::strlen(text);
    if (size <= 0 || length >= static_cast<size_t>(size)) {
        FRWK_WARN_FAILED(__func__, "size > len", "out of buf");
        return E_APPS_ERR_OUTOFBUF;
    }
    strsncpy(buf, text, length);
    return E_APPS_ERR_SUCCESS;
}

int32_t frwk_check_enum_value(const char *list, const char *text) {
    if (list == nullptr || text == nullptr) {
        FRWK_WARN(__func__, "parameter is null!");
        return 0;
    }

    const OwnedBlock copy(os_mem_strdup(list)); /* the loop below splits it in place */
    if (!copy) {
        FRWK_WARN(__func__, "DUP enum string failed!");
        return 0;
    }

    char *rest = static_cast<char *>(copy.get());
    while (const char *word = strsep(&rest, ",")) {
        if (same_ignoring_case(word, text)) {
            return 1;
        }
    }
    return 0;
}
