/*
 * Sends requests: one connection per message, header and body in one write.
 *
 * A small request is built on the stack. A larger one is written directly from the caller's body, since a
 * copy would take half as long as the transfer. A block for the copy is still allocated, but not used, so
 * that a module's memory limits apply to messages that it sends.
 */
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <optional>
#include <utility>

#include "formats/ipc_wire.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "frwk_common/ipc/client/answer_wait.h"
#include "frwk_common/ipc/client/fan_out.h"
#include "frwk_common/ipc/client/one_way.h"
#include "frwk_common/ipc/server/ipc_dispatch.h"
#include "frwk_common/ipc/server/own_messages.h"
#include "frwk_common/ipc/transport/ipc_connection.h"
#include "frwk_common/ipc/transport/ipc_trace.h"
#include "internal/frwk_log.h"
#include "internal/small_buffer.h"
#include "os_thread.h"
#include "support/owned_block.h"

using ipc::AnswerWait;
using ipc::Connection;

namespace {

constexpr uint32_t kHeaderSize = sizeof(frwk_ipc_header);

using IpcBuffer = SmallBuffer<kIpcFixedBuffer>;

struct Body {
    const void *data;
    uint32_t len;
};

bool is_self(uint32_t module) {
    return module == static_cast<uint32_t>(g_s_module_id.load());
}

bool is_destination(uint32_t module) {
    return module > E_APPS_MODULE_MIN && module < E_APPS_MODULE_MAX;
}

frwk_ipc_header make_header(apps_message_id_e_type msgid, bool async, uint32_t timeout, uint32_t rsp_size,
                            uint32_t data_len) {
    return {static_cast<uint32_t>(g_s_module_id.load()),
            msgid,
            async ? 1u : 0u,
            timeout,
            rsp_size,
            static_cast<int32_t>(data_len)};
}

/* Builds a request: the header, then the body. */
void lay_out(void *request, const frwk_ipc_header &header, const Body &body) {
    std::memcpy(request, &header, sizeof(header));
    if (body.len > 0) {
        std::memcpy(static_cast<unsigned char *>(request) + sizeof(header), body.data, body.len);
    }
}

/* Checks the arguments of every send. Returns 0, or the result of the send. */
apps_err_e_type check_request(LogName caller, uint32_t module, const Body &body, const void *rsp,
                              uint32_t rsp_size) {
    if (!is_destination(module)) {
        FRWK_WARN(caller, "invalid module id=%d", static_cast<int>(module));
        return E_APPS_ERR_MODULE;
    }
    if ((body.len != 0 && body.data == nullptr) || (rsp_size != 0 && rsp == nullptr)) {
        FRWK_WARN(caller, "invalid request arguments!");
        return E_APPS_ERR_PARAM;
    }
    return E_APPS_ERR_SUCCESS;
}

void log_unreachable(LogName caller, uint32_t module) {
    const char *name = frwk_module_name(static_cast<int32_t>(module));
    FRWK_WARN(caller, "ipc connect to module [%s] failed!", name != nullptr ? name : "");
}

/* Opens a connection; none, logged, when the module can't be reached. timeout: seconds. */
Connection connect_to(LogName caller, uint32_t module, uint32_t timeout) {
    Connection connection = Connection::open(module, timeout);
    if (!connection) {
        log_unreachable(caller, module);
    }
    return connection;
}

/* Writes one request. Returns 0, or the result of the send. */
apps_err_e_type write_request(LogName caller, Connection &connection, const frwk_ipc_header &header,
                              const Body &body, AnswerWait &wait) {
    IpcBuffer request;
    const std::optional<uint32_t> size = checked_add(kHeaderSize, body.len);
    if (!request.reserve(size)) {
        FRWK_WARN(caller, "alloc failed for ipc req!");
        return E_APPS_ERR_MALLOC;
    }

    int32_t written = 0;
    if (request.on_heap()) {
        written = connection.send(&header, kHeaderSize, body.data, body.len, wait);
    } else {
        lay_out(request.data(), header, body);
        written = connection.send(request.data(), *size, nullptr, 0, wait);
    }
    if (written != static_cast<int32_t>(*size)) {
        FRWK_WARN(caller, "ipc send req msg failed!");
        return E_APPS_ERR_WRITE;
    }
    return E_APPS_ERR_SUCCESS;
}

/* Reads the rest of len bytes. Returns false, and logs, on failure. */
bool receive_rest(Connection &connection, void *buf, uint32_t received, uint32_t len, AnswerWait &wait) {
    if (received >= len) {
        return true;
    }
    const uint32_t missing = len - received;
    return connection.receive_stream(static_cast<char *>(buf) + received, missing, wait) ==
           static_cast<int32_t>(missing);
}

/* An answer that fits here is copied to the caller's buffer only when it is complete. */
struct SmallAnswer {
    frwk_ipc_rsp_header header;
    unsigned char data[kIpcFixedBuffer];
};

static_assert(offsetof(SmallAnswer, data) == sizeof(frwk_ipc_rsp_header));

/*
 * Reads the answer into the caller's buffer: a small one through a local buffer, usually with one read; a
 * larger one directly, after its header was checked. Returns 0 and the handler's result, or the result of the
 * send.
 */
apps_err_e_type receive_answer(Connection &connection, void *rsp, uint32_t rsp_size, AnswerWait &wait,
                               int32_t *handler_result) {
    SmallAnswer answer;
    constexpr uint32_t kHeadSize = sizeof(answer.header);
    const bool small = rsp_size <= sizeof(answer.data);
    const uint32_t most = kHeadSize + (small ? rsp_size : 0);
    const int32_t count = connection.receive_later(&answer, kHeadSize, most, wait);
    if (count < static_cast<int32_t>(kHeadSize)) {
        FRWK_WARN(log_name::kIpcSendSync, "ipc recv rsp header failed!");
        return E_APPS_ERR_READ;
    }

    const uint32_t received = static_cast<uint32_t>(count) - kHeadSize;
    const uint32_t len = answer.header.rsp_len > 0 ? static_cast<uint32_t>(answer.header.rsp_len) : 0;
    if (len > rsp_size) {
        FRWK_WARN(log_name::kIpcSendSync, "ipc recv rsp buffer not big enough!");
        return E_APPS_ERR_OUTOFBUF;
    }
    if (!receive_rest(connection, small ? answer.data : rsp, received, len, wait)) {
        FRWK_WARN(log_name::kIpcSendSync, "ipc recv rsp data failed!");
        return E_APPS_ERR_READ;
    }
    if (small && len > 0) {
        std::memcpy(rsp, answer.data, len);
    }
    *handler_result = answer.header.result;
    return E_APPS_ERR_SUCCESS;
}

void store(int32_t *result, int32_t value) {
    if (result != nullptr) {
        *result = value;
    }
}

/* record: owned by the new thread if it was started. Returns false if not. */
bool start_own_message(void *record) {
    if (!ipc::own_message_begins()) {
        return false;
    }
    os_thread_t thread = 0;
    if (os_thread_create(&thread, nullptr, ipc::dispatch_own_message, record) != 0) {
        ipc::own_message_ends();
        return false;
    }
    return true;
}

/* Starts a thread for a message of the module to itself; the thread owns the record. */
apps_err_e_type handle_on_own_thread(const frwk_ipc_header &header, const Body &body) {
    const std::optional<uint32_t> size = checked_add(kHeaderSize, body.len);
    OwnedBlock record(size ? os_mem_malloc(*size) : nullptr);
    if (!record) {
        FRWK_WARN(log_name::kIpcSendAsync, "alloc for async msg failed!");
        return E_APPS_ERR_MALLOC;
    }
    lay_out(record.get(), header, body);

    if (!start_own_message(record.get())) {
        FRWK_WARN(log_name::kIpcSendAsync, "create async msg handle thread error!");
        return E_APPS_ERR_THREAD;
    }
    (void)record.take();
    return E_APPS_ERR_ASYNC;
}

/* Checks the arguments of a one-way message and traces it. Returns 0, or the result of the send. */
apps_err_e_type check_one_way(uint32_t module, apps_message_id_e_type msgid, const Body &body) {
    const apps_err_e_type refused = check_request(log_name::kIpcSendAsync, module, body, nullptr, 0);
    if (refused == E_APPS_ERR_SUCCESS) {
        ipc::trace(ipc::Way::kOneWay, -1, static_cast<int32_t>(module), msgid);
    }
    return refused;
}

/* Writes a one-way message. Returns the result of the send. */
apps_err_e_type write_one_way(Connection &connection, uint32_t module, const frwk_ipc_header &header,
                              const Body &body) {
    AnswerWait wait(log_name::kIpcSendAsync, module, header.msgid);
    const apps_err_e_type sent = write_request(log_name::kIpcSendAsync, connection, header, body, wait);
    return sent == E_APPS_ERR_SUCCESS ? E_APPS_ERR_ASYNC : sent;
}

}  // namespace

bool ipc::may_send(const Notice &notice, uint32_t module) {
    return check_one_way(module, notice.msgid, {notice.data, notice.len}) == E_APPS_ERR_SUCCESS;
}

bool ipc::send_if_room(const Notice &notice, uint32_t module, std::chrono::milliseconds timeout) {
    Connection connection = Connection::open_within(module, timeout);
    if (!connection && errno == EAGAIN) {
        return false;
    }
    if (!connection) {
        log_unreachable(log_name::kIpcSendAsync, module);
        return true;
    }
    const Body body = {notice.data, notice.len};
    const frwk_ipc_header header = make_header(notice.msgid, true, kIpcNotifyLimitSeconds, 0, notice.len);
    (void)write_one_way(connection, module, header, body);
    return true;
}

void ipc::give_up(uint32_t module) {
    log_unreachable(log_name::kIpcSendAsync, module);
}

apps_err_e_type frwk_ipc_send_sync(uint32_t module, apps_message_id_e_type msgid, const void *req,
                                   uint32_t req_len, void *rsp, uint32_t rsp_size, uint32_t timeout,
                                   int32_t *result) {
    const Body body = {req, req_len};
    const apps_err_e_type refused = check_request(log_name::kIpcSendSync, module, body, rsp, rsp_size);
    if (refused != E_APPS_ERR_SUCCESS) {
        return refused;
    }
    ipc::trace(ipc::Way::kAnswered, -1, static_cast<int32_t>(module), msgid);

    const frwk_ipc_header header = make_header(msgid, false, timeout, rsp_size, req_len);
    if (is_self(module)) {
        const void *data = header.data_len > 0 ? req : nullptr;
        store(result, ipc::dispatch(module, msgid, data, header.data_len, rsp, rsp_size, timeout));
        return E_APPS_ERR_SUCCESS;
    }

    Connection connection = connect_to(log_name::kIpcSendSync, module, timeout);
    if (!connection) {
        return E_APPS_ERR_MODULE;
    }
    AnswerWait wait(log_name::kIpcSendSync, module, msgid);
    const apps_err_e_type sent = write_request(log_name::kIpcSendSync, connection, header, body, wait);
    if (sent != E_APPS_ERR_SUCCESS) {
        return sent;
    }

    int32_t handler_result = 0;
    const apps_err_e_type received = receive_answer(connection, rsp, rsp_size, wait, &handler_result);
    if (received != E_APPS_ERR_SUCCESS) {
        return received;
    }
    store(result, handler_result);
    return handler_result == E_APPS_ERR_TIMEOUT ? E_APPS_ERR_TIMEOUT : E_APPS_ERR_SUCCESS;
}

apps_err_e_type frwk_ipc_send_async(uint32_t module, apps_message_id_e_type msgid, const void *data,
                                    uint32_t len, uint32_t timeout) {
    const Body body = {data, len};
    const apps_err_e_type refused = check_one_way(module, msgid, body);
    if (refused != E_APPS_ERR_SUCCESS) {
        return refused;
    }
    const frwk_ipc_header header = make_header(msgid, true, timeout, 0, len);
    if (is_self(module)) {
        return handle_on_own_thread(header, body);
    }

    Connection connection = connect_to(log_name::kIpcSendAsync, module, timeout);
    return connection ? write_one_way(connection, module, header, body) : E_APPS_ERR_MODULE;
}

apps_err_e_type frwk_ipc_msg_get(uint32_t module, apps_message_id_e_type msgid, void *rsp, uint32_t rsp_size,
                                 uint32_t timeout, int32_t *result) {
    return frwk_ipc_send_sync(module, msgid, nullptr, 0, rsp, rsp_size, timeout, result);
}

apps_err_e_type frwk_ipc_msg_set(uint32_t module, apps_message_id_e_type msgid, const void *data,
                                 uint32_t len, uint32_t timeout, int32_t *result) {
    return frwk_ipc_send_sync(module, msgid, data, len, nullptr, 0, timeout, result);
}

apps_err_e_type frwk_ipc_msg_notify(uint32_t module, apps_message_id_e_type msgid, const void *data,
                                    uint32_t len) {
    return frwk_ipc_send_async(module, msgid, data, len, kIpcNotifyLimitSeconds);
}

void frwk_ipc_msg_broadcast(apps_message_id_e_type msgid, const void *data, uint32_t len) {
    ipc::FanOut receivers({msgid, data, len});
    for (int32_t id = E_APPS_MODULE_MIN + 1; id < E_APPS_MODULE_MAX; ++id) {
        const auto module = static_cast<uint32_t>(id);
        if (frwk_module_feature(id, FRWK_FLAG_MONITORED) != 0 && !is_self(module)) {
            receivers.send(module);
        }
    }
    receivers.wait_for_stragglers();
}

uint32_t frwk_get_module_status(uint32_t module) {
    if (is_self(module)) {
        return g_s_module_status;
    }
    uint32_t status = 0;
    int32_t result = 0;
    const apps_err_e_type sent = frwk_ipc_msg_get(module, E_APPS_MSG_SYS_STATUS, &status, sizeof(status),
                                                  kIpcNotifyLimitSeconds, &result);
    return sent == E_APPS_ERR_SUCCESS && result == 0 ? status : 0;
}
