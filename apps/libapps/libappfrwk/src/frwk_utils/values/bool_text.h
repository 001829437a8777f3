/*
 * Parses the words for a boolean, for callers that log failures themselves.
 */
#pragma once

#include <cstdint>

/*
 * As frwk_str_to_bool. An invalid text is logged at the debug level with that function's name. The caller
 * logs the failure without the text, which may be a secret.
 */
bool read_bool_word(const char *text, uint8_t *out);
