#include "frwk_common/ipc/transport/ipc_trace.h"

#include "frwk_common.h"
#include "internal/frwk_log.h"

namespace {

/* A sender's id comes from the message and may be an empty slot. */
const char *shown_alias(int32_t id) {
    const char *alias = frwk_module_alias(id);
    return alias != nullptr ? alias : "unknown";
}

}  // namespace

namespace ipc {

/* The base library may return null for a number without a name. */
const char *message_name(int32_t msgid) {
    const char *name = zn_enum_to_str_apps_message_id_e_type(msgid);
    return name != nullptr ? name : "unknown";
}

void trace(Way way, int32_t sender, int32_t receiver, int32_t msgid) {
    const char *arrow = way == Way::kAnswered ? "==>" : "-->";
    if (frwk_ipc_msg_debug(msgid) != 0) {
        FRWK_DEBUG_QUIET(log_name::kIpcTrace, "#### [%s]%s[%s]::[%s:%d] ####", shown_alias(sender), arrow,
                         shown_alias(receiver), message_name(msgid), msgid);
        return;
    }
    FRWK_DEBUG(log_name::kIpcTrace, "#### [%s]%s[%s]::[%s:%d] ####", shown_alias(sender), arrow,
               shown_alias(receiver), message_name(msgid), msgid);
}

}  // namespace ipc

int32_t frwk_ipc_msg_debug(apps_message_id_e_type msgid) {
    switch (msgid) {
        case E_APPS_MSG_SYS_STATUS:
        case E_APPS_MSG_SYS_PROBE:
        case E_APPS_MSG_SYS_MEMORY:
        case E_APPS_MSG_ZNDB_SET:
        case E_APPS_MSG_ZNDB_GET:
        case E_APPS_MSG_MNET_NOTIFY_SIG_LEVEL:
        case E_APPS_MSG_MNET_NOTIFY_SIG_CHANGE:
            return 1;
        default:
            return 0;
    }
}
