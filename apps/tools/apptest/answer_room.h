/*
 * Whether the room for an answer was large enough. Pure.
 */
#pragma once

#include <cstdint>
#include <string>

#include "apps_err.h"
#include "apps_message.h"

/*
 * "; --room 3 is too small, the answer has 4 bytes" if that is why the module refused the message, without
 * the number of bytes if it is unknown; otherwise "".
 */
std::string room_hint(apps_err_e_type result, apps_message_id_e_type msgid, uint32_t room);
