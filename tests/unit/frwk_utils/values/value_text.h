/*
 * The text that a variable is written as.
 */
#pragma once

#include <cstring>
#include <string>

#include "frwk_utils.h"

/* A variable's text, or "failed" and the result. */
template <typename T>
inline std::string text_of(int32_t type, T value) {
    unsigned char bytes[sizeof(T) + 1];
    std::memcpy(bytes + 1, &value, sizeof(T)); /* at an odd address */
    char text[64];
    const apps_err_e_type result = frwk_value_to_str(type, bytes + 1, text, sizeof(text));
    return result == E_APPS_ERR_SUCCESS ? text : "failed " + std::to_string(result);
}
