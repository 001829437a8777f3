/*
 * The service thread: accepts one connection at a time and answers its request, or has another thread finish
 * it.
 *
 * The listening socket and the thread exist until the process ends.
 */
#include "frwk_common/ipc/server/ipc_service.h"

#include <pthread.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>

#include "formats/ipc_wire.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "frwk_common/ipc/server/accept_recovery.h"
#include "frwk_common/ipc/server/apart_requests.h"
#include "frwk_common/ipc/server/exchange_watch.h"
#include "frwk_common/ipc/server/inherited_sockets.h"
#include "frwk_common/ipc/server/ipc_dispatch.h"
#include "frwk_common/ipc/server/ipc_listener.h"
#include "frwk_common/ipc/server/served_peer.h"
#include "frwk_common/ipc/transport/ipc_connection.h"
#include "frwk_common/ipc/transport/ipc_trace.h"
#include "internal/frwk_log.h"
#include "internal/plain_block.h"
#include "internal/small_buffer.h"
#include "os_thread.h"
#include "support/owned_block.h"
#include "support/unique_fd.h"

namespace ipc {

namespace {

using IpcBuffer = SmallBuffer<kIpcFixedBuffer>;

/*
 * An incoming request. One read takes the header and as much of the body as fits here and has arrived. A
 * larger body moves to a separate block.
 */
class Request {
  public:
    /* Returns false if no complete header arrived. */
    bool receive_header(Connection &connection, ExchangeWatch &watch) {
        const int32_t count = connection.receive(bytes_, sizeof(header_), sizeof(bytes_), watch);
        if (count < static_cast<int32_t>(sizeof(header_))) {
            return false;
        }
        std::memcpy(&header_, bytes_, sizeof(header_));
        early_ = static_cast<uint32_t>(count) - static_cast<uint32_t>(sizeof(header_));
        return true;
    }

    /* Returns false, and logs, if the announced body can't be received completely. */
    bool receive_body(Connection &connection, ExchangeWatch &watch) {
        if (header_.data_len <= 0) {
            return true;
        }
        const auto size = static_cast<uint32_t>(header_.data_len);
        if (!make_room(size)) {
            FRWK_WARN(log_name::kIpcHandle, "alloc for ipc recv body error!");
            return false;
        }
        if (early_ >= size) {
            return true;
        }
        watch.enter(ExchangeStep::kBody, header_);
        const uint32_t missing = size - early_;
        if (connection.receive(body_ + early_, missing, missing, watch) != static_cast<int32_t>(missing)) {
            FRWK_WARN(log_name::kIpcHandle, "ipc recv body error!");
            return false;
        }
        return true;
    }

    const frwk_ipc_header &header() const { return header_; }
    const void *body() const { return header_.data_len > 0 ? body_ : nullptr; }

  private:
    bool make_room(uint32_t size) {
        body_ = bytes_ + sizeof(header_);
        if (size <= kIpcFixedBuffer) {
            return true;
        }
        block_.reset(plain_block(size));
        if (!block_) {
            return false;
        }
        std::memcpy(block_.get(), body_, early_);
        body_ = static_cast<unsigned char *>(block_.get());
        return true;
    }

    frwk_ipc_header header_ = {};
    uint32_t early_ = 0; /* bytes of the body that were read with the header */
    unsigned char *body_ = nullptr;
    OwnedBlock block_;
    alignas(std::max_align_t) unsigned char bytes_[sizeof(frwk_ipc_header) + kIpcFixedBuffer];
};

/* Allocates the answer, including its header, all zero: the peer receives zeros where the handler wrote
 * nothing. */
bool prepare_answer(const frwk_ipc_header &header, IpcBuffer *answer) {
    const std::optional<uint32_t> size = checked_add(header.rsp_size, sizeof(frwk_ipc_rsp_header));
    if (!answer->reserve_zeroed(size)) {
        FRWK_WARN(log_name::kIpcHandle, "alloc for ipc rsp error!");
        return false;
    }
    return true;
}

apps_err_e_type handle_request(const frwk_ipc_header &header, const void *body, void *rsp,
                               ExchangeWatch &watch) {
    const bool registered = g_s_ipc_handler.load() != nullptr;
    watch.enter(registered ? ExchangeStep::kHandler : ExchangeStep::kRegistration, header);
    const bool answered = header.async == 0;
    const apps_err_e_type result =
        dispatch(header.src, header.msgid, body, header.data_len, answered ? rsp : nullptr,
                 answered ? header.rsp_size : 0, header.timeout);
    watch.look();
    return result;
}

void send_answer(Connection &connection, const frwk_ipc_header &header, apps_err_e_type result,
                 unsigned char *answer, ExchangeWatch &watch) {
    const frwk_ipc_rsp_header rsp_header = {result, static_cast<int32_t>(header.rsp_size)};
    std::memcpy(answer, &rsp_header, sizeof(rsp_header));

    watch.enter(ExchangeStep::kAnswer, header);
    const uint32_t size = header.rsp_size + static_cast<uint32_t>(sizeof(rsp_header));
    if (connection.send(answer, size, nullptr, 0, watch) != static_cast<int32_t>(size)) {
        FRWK_WARN(log_name::kIpcHandle, "send ipc rsp error!");
    }
}

void finish(Connection &connection, const frwk_ipc_header &header, const void *body, ExchangeWatch &watch) {
    IpcBuffer answer;
    if (!prepare_answer(header, &answer)) {
        return;
    }
    unsigned char *rsp = answer.data() + sizeof(frwk_ipc_rsp_header);
    const apps_err_e_type result = handle_request(header, body, rsp, watch);
    if (header.async == 0) {
        send_answer(connection, header, result, answer.data(), watch);
    }
}

void finish_without_body(Connection &connection, const frwk_ipc_header &header) {
    note_served_apart(connection.fd());
    ExchangeWatch watch(connection);
    finish(connection, header, nullptr, watch);
}

/*
 * A forked child does not serve. If it kept its copies of the listening socket and of a connection open,
 * peers would not notice the end of the module.
 */
void close_service_in_child() {
    close_inherited_sockets(g_s_ipcs_fd.exchange(-1));
    g_s_ipc_thread = 0;
    end_serving();
}

__attribute__((constructor)) void close_service_in_children() {
    (void)::pthread_atfork(nullptr, nullptr, close_service_in_child);
}

/* The service thread must be joinable, since the module's main thread waits for it. */
bool start_service_thread() {
    os_thread_attr attr = {};
    os_thread_attr_init(&attr);
    attr.detached = 0;

    os_thread_t thread = 0;
    if (os_thread_create(&thread, &attr, run_service, nullptr) != 0) {
        return false;
    }
    g_s_ipc_thread = thread;
    return true;
}

}  // namespace

void serve(Connection &connection) {
    note_served(connection.fd());
    ExchangeWatch watch(connection);
    Request request;
    if (!request.receive_header(connection, watch)) {
        FRWK_WARN(log_name::kIpcHandle, "recv ipc header error!");
        return;
    }
    const frwk_ipc_header &header = request.header();
    trace(Way::kAnswered, static_cast<int32_t>(header.src), -1, header.msgid);

    if (!request.receive_body(connection, watch)) {
        return;
    }
    const bool is_finished_apart = is_apart(header) && finish_apart(connection, header, finish_without_body);
    if (!is_finished_apart) {
        finish(connection, header, request.body(), watch);
    }
}

void *run_service(void *) {
    begin_serving();
    AcceptRecovery recovery;
    for (;;) {
        const int listener = g_s_ipcs_fd;
        Connection connection = Connection::accept(listener);
        if (connection) {
            recovery.after_success();
            serve(connection);
            continue;
        }
        const int error = errno;
        FRWK_WARN_ERRNO(log_name::kIpcLoop, "ipc accept error!");
        recovery.after_failure(listener, error);
    }
}

void start_service() {
    // After a failure, a retry creates only what is missing: peers may already wait on the socket.
    if (g_s_ipcs_fd < 0) {
        make_listener();
    }
    FRWK_ASSERT(log_name::kIpcInit, g_s_ipcs_fd >= 0, "0 <= g_s_ipcs_fd", "");

    if (g_s_ipc_thread == 0) {
        const bool started = start_service_thread();
        FRWK_ASSERT(log_name::kIpcInit, started, "0 == ret", "");
    }
}

}  // namespace ipc

void frwk_ipc_service_ex(frwk_ipc_handler_t handler, int32_t wait) {
    g_s_ipc_handler = handler;
    if (g_s_ipc_thread == 0 || g_s_ipcs_fd < 0) {
        ipc::start_service();
    }
    frwk_set_module_status(kIpcStatusServing);
    if (wait != 0 && g_s_ipc_thread != 0) {
        os_thread_join(g_s_ipc_thread);
    }
}

void frwk_ipc_service(frwk_ipc_handler_t handler) {
    frwk_ipc_service_ex(handler, 1);
}

void frwk_set_module_status(uint32_t status) {
    g_s_module_status = status;
}
