/*
 * Codec lists: several values in one configuration text, separated by commas. The exported calls are in
 * frwk_utils.h; this is taking an item that must not be logged.
 */
#pragma once

#include <cstdint>

#include "frwk_utils.h"

/* Stands for a secret in the log. */
inline constexpr char kHiddenText[] = "******";

enum class ItemPrivacy {
    kOpen,  /* the log may show it, at debug levels */
    kSecret /* the log never shows it */
};

/*
 * Takes the first item off a list, in place, as frwk_zndb_get_value does.
 *
 * next: receives the start of the next item as soon as this one was cut off; may be null, and may be where
 * the caller keeps text.
 */
apps_err_e_type take_codec_item(char *text, int32_t type, void *out, uint32_t size, char **next,
                                ItemPrivacy privacy);
