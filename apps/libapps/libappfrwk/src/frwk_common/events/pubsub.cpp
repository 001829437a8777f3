/*
 * Events: each event has a file with its subscribers. Publishing sends a message to each subscriber.
 */
#include <cerrno>
#include <cstdio>

#include "formats/device_paths.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "frwk_common/events/subscription_file.h"
#include "frwk_common/events/subscription_lock.h"
#include "frwk_common/ipc/client/fan_out.h"
#include "internal/frwk_log.h"
#include "internal/guarded_folder.h"
#include "internal/planted.h"
#include "internal/shell.h"
#include "os_file.h"

using events::Addition;
using events::Removal;
using events::SubscriptionFile;
using events::SubscriptionLines;
using events::SubscriptionLock;

namespace {

const char *own_name() {
    const char *name = frwk_module_name(g_s_module_id);
    return name != nullptr ? name : "";
}

/* Empties a subscription folder, or creates it. */
void init_folder(const char *folder) {
    (void)set_aside_planted(folder, FolderOwner::kTrusted);
    if (os_file_exist(folder) == 0) {
        make_guarded_folder(folder);
        return;
    }
    close_folder(folder, false);
    char command[64];
    (void)std::snprintf(command, sizeof(command), "rm -rf %s/*", folder);  // one of two fixed folders
    shell_and_sync(command);
}

}  // namespace

void frwk_ipc_init_sub(void) {
    init_folder(paths::kSubscribeFolder);
}

void frwk_ipc_init_sub_ex(void) {
    init_folder(paths::kSubscribeFolderEx);
}

apps_err_e_type frwk_ipc_msg_sub(const char *event) {
    const SubscriptionLock lock;
    if (!lock) {
        FRWK_WARN(__func__, "enter subscribe lock failed!");
        return E_APPS_ERR_BUSY;
    }

    switch (add_subscriber(SubscriptionFile(event), own_name())) {
        case Addition::kListed:
            break;
        case Addition::kAdded:
            FRWK_DEBUG(__func__, "subscribe event=%s success!", event);
            break;
        case Addition::kNotAdded:
            FRWK_WARN_ERRNO(__func__, "can't open event key file!");
            return E_APPS_ERR_IO;
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type frwk_ipc_msg_unsub(const char *event) {
    const SubscriptionLock lock;
    if (!lock) {
        FRWK_WARN(__func__, "enter unsubscribe lock failed!");
        return E_APPS_ERR_BUSY;
    }

    switch (remove_subscriber(SubscriptionFile(event), own_name())) {
        case Removal::kNotListed:
            break;
        case Removal::kRemoved:
            FRWK_DEBUG(__func__, "unsubscribe event=%s success!", event);
            break;
        case Removal::kNoMemory:
            FRWK_WARN(__func__, "alloc for unsubscribe '%s' failed!", event);
            return E_APPS_ERR_MALLOC;
        case Removal::kNotOpened:
            FRWK_WARN_ERRNO(__func__, "can't open event key file!");
            return E_APPS_ERR_IO;
        case Removal::kStartShort:
            FRWK_WARN(__func__, "write event key start failed!");
            return E_APPS_ERR_WRITE;
        case Removal::kEndShort:
            FRWK_WARN(__func__, "write event key end failed!");
            return E_APPS_ERR_WRITE;
    }
    return E_APPS_ERR_SUCCESS;
}

void frwk_ipc_msg_pub(const char *event, apps_message_id_e_type msgid, const void *data, uint32_t len) {
    const SubscriptionFile file(event);
    SubscriptionLines lines(file);
    if (!lines) {
        if (errno != ENOENT && !file.is_empty()) {
            FRWK_WARN(__func__, "open envent key(%s) file failed!", file.path());
        }
        return;
    }

    ipc::FanOut receivers({msgid, data, len});
    while (const char *name = lines.next()) {
        if (*name == '\0') {
            continue;
        }
        const int32_t id = frwk_module_id(name);
        if (id <= E_APPS_MODULE_MIN) {
            FRWK_WARN(__func__, "ignore invalid subscriber module(%s)!", name);
        } else if (id != g_s_module_id) {
            receivers.send(static_cast<uint32_t>(id));
        }
    }
    receivers.wait_for_stragglers();
    if (lines.error() != 0) {
        FRWK_WARN(__func__, "read event key(%s) file failed!", file.path());
    }
}
