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

/* The base library may return null for a number without a name. */
const char *frwk_ipc_message_name(int32_t msgid) {
    const char *name = zn_enum_to_str_apps_message_id_e_type(msgid);
    return name != nullptr ? name : "unknown";
}

void frwk_ipc_trace(IpcTrace way, int32_t sender, int32_t receiver, int32_t msgid) {
    const char *arrow = way == IpcTrace::kAnswered ? "==>" : "-->";
    if (frwk_ipc_msg_debug(msgid) != 0) {
        OS_LOG_QUIET(OS_LOG_DEBUG, "#### [%s]%s[%s]::[%s:%d] ####", shown_alias(sender), arrow,
                     shown_alias(receiver), frwk_ipc_message_name(msgid), msgid);
        return;
    }
    FRWK_DEBUG(__func__, "#### [%s]%s[%s]::[%s:%d] ####", shown_alias(sender), arrow, shown_alias(receiver),
               frwk_ipc_message_name(msgid), msgid);
}

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
