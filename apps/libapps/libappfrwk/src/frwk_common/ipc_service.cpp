/*
 * The service thread: takes one connection after another and answers the one request that each brings.
 *
 * The listening socket and the thread live until the process ends.
 */
#include "frwk_common/ipc_service.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "frwk_common.h"
#include "frwk_common/ipc_dispatch.h"
#include "frwk_common/ipc_listener.h"
#include "frwk_common/ipc_trace.h"
#include "frwk_common/ipc_transport.h"
#include "frwk_common/ipc_wire.h"
#include "frwk_common/process_state.h"
#include "internal/frwk_log.h"
#include "internal/owned.h"
#include "internal/small_buffer.h"
#include "os_thread.h"

namespace {

constexpr uint32_t kAcceptPauseMs = 100;

/* The status word of a module whose handler is registered. */
constexpr uint32_t kStatusServing = 1;

/*
 * A descriptor kept in reserve. Out of descriptors, accept fails at once and for ever while the connection
 * stays in the queue: giving up the reserve makes room to take that connection and drop it.
 */
class SpareFd {
  public:
    SpareFd() { open(); }

    /* Drops the first connection of the queue. Returns false when that was not possible either. */
    bool shed(int listener) {
        fd_.reset();
        const bool dropped = static_cast<bool>(UniqueFd(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)));
        open();
        return dropped;
    }

  private:
    void open() { fd_.reset(::open("/dev/null", O_RDONLY | O_CLOEXEC)); }

    UniqueFd fd_;
};

bool out_of_descriptors(int error) {
    return error == EMFILE || error == ENFILE;
}

/* Without a socket, or with nothing to give up, trying again at once would only burn the processor. */
void recover_from_failed_accept(int listener, int error, SpareFd *spare) {
    if (listener < 0 || (out_of_descriptors(error) && !spare->shed(listener))) {
        frwk_sleep(kAcceptPauseMs);
    }
}

using IpcBuffer = SmallBuffer<kIpcFixedBuffer>;

/* Reads the body that the header announces. Returns false, logged, when it can't be had whole. */
bool receive_body(int fd, const frwk_ipc_header &header, IpcBuffer *body) {
    if (header.data_len <= 0) {
        return true;
    }
    const auto size = static_cast<uint32_t>(header.data_len);
    if (!body->reserve(size)) {
        FRWK_WARN("alloc for ipc recv body error!");
        return false;
    }
    if (frwk_ipc_recv(fd, body->data(), size, kIpcReceiveLimitSeconds) != header.data_len) {
        FRWK_WARN("ipc recv body error!");
        return false;
    }
    return true;
}

/* Makes room for the answer, its header included, all zero: what a handler leaves alone arrives as zeros. */
bool prepare_answer(const frwk_ipc_header &header, IpcBuffer *answer) {
    const std::optional<uint32_t> size = checked_add(header.rsp_size, sizeof(frwk_ipc_rsp_header));
    if (!answer->reserve(size)) {
        FRWK_WARN("alloc for ipc rsp error!");
        return false;
    }
    if (!answer->on_heap()) {
        std::memset(answer->data(), 0, *size);
    }
    return true;
}

apps_err_e_type dispatch(const frwk_ipc_header &header, const void *body, void *rsp) {
    const bool answered = header.async == 0;
    return frwk_ipc_msg_handle(header.src, header.msgid, header.data_len > 0 ? body : nullptr,
                               header.data_len, answered ? rsp : nullptr, answered ? header.rsp_size : 0,
                               header.timeout);
}

void send_answer(int fd, uint32_t rsp_size, apps_err_e_type result, unsigned char *answer) {
    const frwk_ipc_rsp_header rsp_header = {result, static_cast<int32_t>(rsp_size)};
    std::memcpy(answer, &rsp_header, sizeof(rsp_header));

    const uint32_t size = rsp_size + static_cast<uint32_t>(sizeof(rsp_header));
    if (frwk_ipc_send(fd, answer, size) != static_cast<int32_t>(size)) {
        FRWK_WARN("send ipc rsp error!");
    }
}

/* The service thread must be joinable, since the module's main thread waits for it. */
bool start_service_thread() {
    os_thread_attr attr = {};
    os_thread_attr_init(&attr);
    attr.detached = 0;

    os_thread_t thread = 0;
    if (os_thread_create(&thread, &attr, frwk_ipc_loop, nullptr) != 0) {
        return false;
    }
    g_s_ipc_thread = thread;
    return true;
}

}  // namespace

void frwk_ipc_handle(int fd) {
    frwk_ipc_header header = {};
    if (frwk_ipc_recv(fd, &header, sizeof(header), kIpcReceiveLimitSeconds) !=
        static_cast<int32_t>(sizeof(header))) {
        FRWK_WARN("recv ipc header error!");
        return;
    }
    frwk_ipc_trace(IpcTrace::kAnswered, static_cast<int32_t>(header.src), -1, header.msgid);

    IpcBuffer body;
    IpcBuffer answer;
    if (!receive_body(fd, header, &body) || !prepare_answer(header, &answer)) {
        return;
    }

    unsigned char *rsp = answer.data() + sizeof(frwk_ipc_rsp_header);
    const apps_err_e_type result = dispatch(header, body.data(), rsp);
    if (header.async == 0) {
        send_answer(fd, header.rsp_size, result, answer.data());
    }
}

void *frwk_ipc_loop(void *) {
    SpareFd spare;
    for (;;) {
        const int listener = g_s_ipcs_fd;
        const UniqueFd connection(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
        if (connection) {
            frwk_ipc_handle(connection.get());
            continue;
        }
        const int error = errno;
        FRWK_WARN_ERRNO("ipc accept error!");
        recover_from_failed_accept(listener, error, &spare);
    }
}

void frwk_ipc_init() {
    g_s_ipcs_fd = frwk_ipc_socket();
    FRWK_ASSERT(g_s_ipcs_fd >= 0, "0 <= g_s_ipcs_fd", "");

    // A second try after a failed socket finds the thread waiting for one.
    if (g_s_ipc_thread == 0) {
        const bool started = start_service_thread();
        FRWK_ASSERT(started, "0 == ret", "");
    }
}

void frwk_ipc_service_ex(frwk_ipc_handler_t handler, int32_t wait) {
    g_s_ipc_handler = handler;
    if (g_s_ipc_thread == 0 || g_s_ipcs_fd < 0) {
        frwk_ipc_init();
    }
    frwk_set_module_status(kStatusServing);
    if (wait != 0) {
        os_thread_join(g_s_ipc_thread);
    }
}

void frwk_ipc_service(frwk_ipc_handler_t handler) {
    frwk_ipc_service_ex(handler, 1);
}

void frwk_set_module_status(uint32_t status) {
    g_s_module_status = status;
}
