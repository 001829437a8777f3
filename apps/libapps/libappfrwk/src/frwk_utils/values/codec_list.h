/*
 * Codec lists: several values in one configuration text, separated by commas. The exported functions are in
 * frwk_utils.h; this one also reads items that must not be logged.
 */
#pragma once

#include <cstdint>

#include "frwk_utils.h"

/* Replaces a secret in the log. */
inline constexpr char kHiddenText[] = "******";

enum class ItemPrivacy {
    kOpen,  /* may be logged at debug levels */
    kSecret /* never logged */
};

/*
 * Reads the first item of a list, as frwk_zndb_get_value does.
 *
 * next: receives the start of the next item, even if this one can't be read; may be null, and may point to
 * the caller's text pointer.
 */
apps_err_e_type take_codec_item(char *text, int32_t type, void *out, uint32_t size, char **next,
                                ItemPrivacy privacy);
