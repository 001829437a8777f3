/*
 * The words for a boolean, for callers that say themselves what could not be read.
 */
#pragma once

#include <cstdint>

/*
 * As frwk_str_to_bool, under whose name a text that is no boolean is shown at the debug level; the caller
 * logs the failure, without the text, which may be a secret.
 */
bool read_bool_word(const char *text, uint8_t *out);
