/*
 * Converts a typed variable to its text in the configuration.
 */
#pragma once

#include "frwk_utils.h"
#include "frwk_utils/values/data_type.h"
#include "internal/frwk_log.h"

/* Whether a variable of this type is the text itself. */
inline bool is_text_type(int32_t type) {
    const DataType *row = find_data_type(type);
    return row != nullptr && row->is_text();
}

/* The longest text of a number or a boolean in bytes, including the NUL. */
inline constexpr int kTypedTextSize = kNumberTextSize;

class TypedText {
  public:
    TypedText() = default;
    TypedText(const TypedText &) = delete;
    TypedText &operator=(const TypedText &) = delete;

    /*
     * Converts a value. A text is used unchanged, null as the empty text; other values are formatted.
     *
     * caller: the function name in the log line if the value has no text.
     */
    [[nodiscard]] apps_err_e_type assign(LogName caller, int32_t type, const void *value) {
        if (is_text_type(type)) {
            text_ = value != nullptr ? static_cast<const char *>(value) : "";
            return E_APPS_ERR_SUCCESS;
        }
        const apps_err_e_type ret = frwk_value_to_str(type, value, formatted_, kTypedTextSize);
        if (ret != E_APPS_ERR_SUCCESS) {
            FRWK_WARN_FAILED(caller, "E_APPS_ERR_SUCCESS == ret", "");
        }
        return ret;
    }

    /* The text, valid while both this object and the value exist. */
    const char *text() const { return text_; }

  private:
    char formatted_[kTypedTextSize] = {};
    const char *text_ = formatted_;
};
