/*
 * Requests to the monitor, the module that controls the device.
 */
#include <unistd.h>

#include "formats/device_paths.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "internal/frwk_log.h"
#include "internal/marker_file.h"

namespace {

/* Sends a command with one argument. Returns 1 if it was delivered. */
int32_t send_to_monitor(apps_message_id_e_type msgid, uint32_t argument) {
    return frwk_ipc_msg_notify(E_APPS_MODULE_MONITOR, msgid, &argument, sizeof(argument)) == E_APPS_ERR_ASYNC
               ? 1
               : 0;
}

/* A module without flags is a tool, and tools may control every module. */
bool may_act_on_others() {
    const bool has_flags = frwk_module_feature(-1, ~0u) != 0;
    return !has_flags || frwk_module_feature(-1, FRWK_FLAG_ADMIN) != 0;
}

/* caller: the function name in the log lines. */
int32_t switch_module(LogName caller, apps_message_id_e_type msgid, int32_t module) {
    const int32_t self = g_s_module_id;
    const int32_t id = module < 0 ? self : module;

    const bool known = id > E_APPS_MODULE_MIN && id < E_APPS_MODULE_MAX;
    if (!known) {
        FRWK_WARN_FAILED(caller, "(E_APPS_MODULE_MIN < id) && (E_APPS_MODULE_MAX > id)", "invalid module id");
        return 0;
    }

    const bool monitored = frwk_module_feature(id, FRWK_FLAG_MONITORED) != 0;
    if (!monitored) {
        FRWK_WARN_FAILED(caller, "frwk_module_feature(id, (0x00000002))", "invalid operation");
        return 0;
    }

    if (id != self && !may_act_on_others()) {
        FRWK_WARN(caller, "no operation permission!!!");
        return 0;
    }
    return send_to_monitor(msgid, static_cast<uint32_t>(id));
}

}  // namespace

int32_t frwk_system_reboot(uint32_t reason) {
    return send_to_monitor(E_APPS_MSG_MONITOR_REBOOT, reason);
}

int32_t frwk_system_reset(uint32_t reason) {
    if (make_marker(paths::kResetFlag)) {
        ::sync();
    }
    return send_to_monitor(E_APPS_MSG_MONITOR_RESET, reason);
}

int32_t frwk_system_shutdown(uint32_t reason) {
    return send_to_monitor(E_APPS_MSG_MONITOR_SHUTDOWN, reason);
}

int32_t frwk_module_enable(int32_t module) {
    return switch_module(__func__, E_APPS_MSG_MONITOR_ENABLE, module);
}

int32_t frwk_module_disable(int32_t module) {
    return switch_module(__func__, E_APPS_MSG_MONITOR_DISABLE, module);
}
