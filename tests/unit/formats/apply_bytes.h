/*
 * The bodies of the apply control message, put together by hand.
 */
#pragma once

#include <string>

#include "unit/formats/item_bytes.h"

/* action: 0 status, 1 begin, 2 add, 3 commit, 4 abandon, 5 confirm, 6 revert, 7 keep, 8 restored, 9 undo. */
inline std::string apply_bytes(uint32_t action, uint32_t number = 0, uint32_t seconds = 0,
                               const std::string &items = "") {
    return word(action) + word(number) + word(seconds) + word(0) + items;
}
