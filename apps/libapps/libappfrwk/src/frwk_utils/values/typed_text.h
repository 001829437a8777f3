/*
 * A typed variable as the text that stands for it in the configuration.
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

/* Bytes of the longest text of a number or a boolean, the NUL included. */
inline constexpr int kTypedTextSize = kNumberTextSize;

class TypedText {
  public:
    TypedText() = default;
    TypedText(const TypedText &) = delete;
    TypedText &operator=(const TypedText &) = delete;

    /*
     * Takes a value: a text as it stands, null as the empty one; anything else formatted.
     *
     * call: the function that the log names when the value has no text.
     */
    [[nodiscard]] apps_err_e_type assign(const char *call, int32_t type, const void *value) {
        if (is_text_type(type)) {
            text_ = value != nullptr ? static_cast<const char *>(value) : "";
            return E_APPS_ERR_SUCCESS;
        }
        const apps_err_e_type ret = frwk_value_to_str(type, value, formatted_, kTypedTextSize);
        if (ret != E_APPS_ERR_SUCCESS) {
            FRWK_WARN_FAILED_AS(call, "E_APPS_ERR_SUCCESS == ret", "");
        }
        return ret;
    }

    /* The text, valid as long as this and the value live. */
    const char *text() const { return text_; }

  private:
    char formatted_[kTypedTextSize] = {};
    const char *text_ = formatted_;
};
