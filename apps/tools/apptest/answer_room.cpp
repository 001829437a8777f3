#include "apptest/answer_room.h"

#include "os_mem.h"

namespace {

/* The size of the answer to a system message; 0 if it is unknown. */
uint32_t answer_size(apps_message_id_e_type msgid) {
    switch (msgid) {
        case E_APPS_MSG_SYS_STATUS:
            return sizeof(uint32_t);
        case E_APPS_MSG_SYS_MEMORY:
            return sizeof(os_mem_usage_t);
        default:
            return 0;
    }
}

}  // namespace

std::string room_hint(apps_err_e_type result, apps_message_id_e_type msgid, uint32_t room) {
    const std::string small = "; --room " + std::to_string(room) + " is too small";
    const uint32_t size = answer_size(msgid);
    if (result == E_APPS_ERR_PARAM && room < size) {
        return small + ", the answer has " + std::to_string(size) + " bytes";
    }
    return result == E_APPS_ERR_OUTOFBUF ? small + " for the answer" : "";
}
