/*
 * Answers the system messages and passes all others to the module's handler.
 */
#include "frwk_common/ipc/server/ipc_dispatch.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "formats/ipc_wire.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "frwk_common/ipc/server/apart_requests.h"
#include "frwk_common/ipc/server/own_messages.h"
#include "internal/frwk_log.h"
#include "os_mem.h"
#include "os_time.h"
#include "support/owned_block.h"

namespace ipc {

namespace {

constexpr uint32_t kHandlerPollMs = 200;
constexpr uint64_t kMillisecondsPerSecond = 1000;

/* The arguments of a handler. */
struct Message {
    uint32_t src;
    apps_message_id_e_type msgid;
    const void *data;
    int32_t data_len;
    void *rsp;
    uint32_t rsp_size;
    uint32_t timeout;
};

apps_err_e_type call(frwk_ipc_handler_t handler, const Message &m) {
    return handler(m.src, m.msgid, m.data, m.data_len, m.rsp, m.rsp_size, m.timeout);
}

/* Copies an answer of fixed size; the buffer may be unaligned. */
apps_err_e_type answer(const Message &m, const void *words, uint32_t size) {
    if (m.rsp_size < size || m.rsp == nullptr) {
        return E_APPS_ERR_PARAM;
    }
    std::memcpy(m.rsp, words, size);
    return E_APPS_ERR_SUCCESS;
}

/* The first such message ends the process; another thread with a second one waits until the process has
 * ended. */
[[noreturn]] apps_err_e_type end_process(const Message &m) {
    static std::atomic_flag ending = ATOMIC_FLAG_INIT;
    if (ending.test_and_set()) {
        frwk_keep_running();
    }
    wait_for_apart();
    const frwk_exit_handler_t exit_handler = g_s_exit_handler;
    if (exit_handler != nullptr) {
        exit_handler(m.msgid);
    }
    std::exit(EXIT_SUCCESS);  // NOLINT(concurrency-mt-unsafe): only one thread reaches this
}

apps_err_e_type reopen_log(const Message &) {
    const frwk_module_info &row = g_modules_info[g_s_module_id];
    os_log_init(row.name, row.facility);
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type answer_status(const Message &m) {
    const uint32_t status = g_s_module_status;
    return answer(m, &status, sizeof(status));
}

apps_err_e_type answer_probe(const Message &) {
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type answer_memory(const Message &m) {
    os_mem_usage_t usage = {};
    os_mem_usage(&usage);
    return answer(m, &usage, sizeof(usage));
}

/* A power notification must not be lost, so it waits for the handler without limit. */
apps_err_e_type wait_and_call(const Message &m) {
    frwk_ipc_handler_t handler = nullptr;
    while ((handler = g_s_ipc_handler) == nullptr) {
        frwk_sleep(kHandlerPollMs);
    }
    return call(handler, m);
}

struct SystemMessage {
    apps_message_id_e_type msgid;
    apps_err_e_type (*act)(const Message &m);
};

constexpr SystemMessage kSystemMessages[] = {
    {E_APPS_MSG_SYS_EXIT, end_process},
    {E_APPS_MSG_SYS_REBOOT, end_process},
    {E_APPS_MSG_SYS_RESET, end_process},
    {E_APPS_MSG_SYS_SHUTDOWN, end_process},
    {E_APPS_MSG_SYS_LOG, reopen_log},
    {E_APPS_MSG_SYS_STATUS, answer_status},
    {E_APPS_MSG_SYS_PROBE, answer_probe},
    {E_APPS_MSG_SYS_MEMORY, answer_memory},
    {E_APPS_MSG_MONITOR_FPWRON_NOTIFY, wait_and_call},
    {E_APPS_MSG_MONITOR_FPWROFF_NOTIFY, wait_and_call},
};

const SystemMessage *find_system_message(apps_message_id_e_type msgid) {
    for (const SystemMessage &entry : kSystemMessages) {
        if (entry.msgid == msgid) {
            return &entry;
        }
    }
    return nullptr;
}

/* The web server and the remote management must not wait for a module that is still starting. */
bool never_waits(uint32_t sender) {
    return sender == E_APPS_MODULE_WEBSERVER || sender == E_APPS_MODULE_TR069;
}

}  // namespace

static_assert(sizeof(os_mem_usage_t) == 24);

apps_err_e_type dispatch(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                         void *rsp, uint32_t rsp_size, uint32_t timeout) {
    const Message message = {src, msgid, data, data_len, rsp, rsp_size, timeout};

    const SystemMessage *system = find_system_message(msgid);
    if (system != nullptr) {
        return system->act(message);
    }

    frwk_ipc_handler_t handler = g_s_ipc_handler;
    if (handler != nullptr) {
        return call(handler, message);
    }
    if (never_waits(src)) {
        FRWK_WARN(log_name::kIpcMsgHandle, "ipc handler is null!");
        return E_APPS_ERR_PROCESS;
    }

    FRWK_WARN(log_name::kIpcMsgHandle, "waiting for ipc handler register start...");
    os_simple_timer timer = {};
    os_simple_timer_start(&timer, timeout * kMillisecondsPerSecond);
    bool last_look = false;
    while (!last_look) {
        last_look = os_simple_timer_timeout(&timer) != 0;
        handler = g_s_ipc_handler;
        if (handler != nullptr) {
            FRWK_WARN(log_name::kIpcMsgHandle, "waiting for ipc handler register complete...");
            return call(handler, message);
        }
        if (!last_look) {
            frwk_sleep(kHandlerPollMs);
        }
    }
    FRWK_WARN(log_name::kIpcMsgHandle, "waiting for ipc handler timeout!");
    return E_APPS_ERR_TIMEOUT;
}

void *dispatch_own_message(void *ptr) {
    FRWK_ASSERT(log_name::kIpcMsgAsyncHandle, ptr != nullptr, "NULL != ptr", "");
    if (ptr == nullptr) {
        return nullptr;
    }

    OwnedBlock record(ptr);
    const auto *header = static_cast<const frwk_ipc_header *>(ptr);
    const void *body = header->data_len > 0 ? header + 1 : nullptr;
    if (dispatch(header->src, header->msgid, body, header->data_len, nullptr, 0, header->timeout) !=
        E_APPS_ERR_SUCCESS) {
        FRWK_WARN(log_name::kIpcMsgAsyncHandle, "async call msg handler failed!");
    }
    record.reset();
    own_message_ends();
    return nullptr;
}

}  // namespace ipc
