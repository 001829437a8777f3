/*
 * Fuzzes the bytes that a peer writes to a module's socket: header, body, handler, answer.
 *
 * The input is the bytes of one connection, whose peer writes nothing more. Messages that end the process are
 * not fuzzed; the tests cover them.
 */
#include <sys/socket.h>
#include <unistd.h>

#include "apps_message.h"
#include "formats/ipc_wire.h"
#include "frwk_common/core/process_state.h"
#include "frwk_common/ipc/server/ipc_service.h"
#include "os_mem.h"
#include "support/fuzz_input.h"
#include "support/unique_fd.h"

namespace {

/* The bytes that a socket accepts without a reader. */
constexpr size_t kInputMax = 65536;
constexpr uint32_t kAnswerMax = 65536;

constexpr uint32_t kHeaderSize = sizeof(frwk_ipc_header);
constexpr uint32_t kAnswerHeaderSize = sizeof(frwk_ipc_rsp_header);
constexpr unsigned char kAnswerByte = 0xA5;

/* The request of the running input. */
struct {
    std::string_view bytes;
    frwk_ipc_header header;
    int handled;
} g_request;

/* Checks that the answer starts as zeros, and fills it, of a very large one the beginning and the end. */
void fill_answer(char *rsp, uint32_t size) {
    const uint32_t filled = std::min(size, kAnswerMax);
    for (uint32_t i = 0; i < filled; ++i) {
        FUZZ_CHECK(rsp[i] == 0);
    }
    if (size > 0) {
        std::memset(rsp, kAnswerByte, filled);
        rsp[size - 1] = static_cast<char>(kAnswerByte);
    }
}

/* Checks that a request arrives as it was sent. */
apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                       void *rsp, uint32_t rsp_size, uint32_t timeout) {
    const frwk_ipc_header &header = g_request.header;
    FUZZ_CHECK(src == header.src && msgid == header.msgid && timeout == header.timeout);
    FUZZ_CHECK(data_len == header.data_len);
    FUZZ_CHECK((data != nullptr) == (data_len > 0));
    if (data_len > 0) {
        const auto size = static_cast<size_t>(data_len);
        FUZZ_CHECK(g_request.bytes.size() - kHeaderSize >= size);
        FUZZ_CHECK(std::memcmp(data, g_request.bytes.data() + kHeaderSize, size) == 0);
    }

    FUZZ_CHECK((rsp != nullptr) == (header.async == 0));
    FUZZ_CHECK(rsp_size == (header.async == 0 ? header.rsp_size : 0));
    fill_answer(static_cast<char *>(rsp), rsp_size);
    ++g_request.handled;
    return static_cast<apps_err_e_type>(header.src);
}

bool ends_process(int32_t msgid) {
    return msgid >= E_APPS_MSG_SYS_EXIT && msgid <= E_APPS_MSG_SYS_SHUTDOWN;
}

bool is_system_message(int32_t msgid) {
    return msgid >= E_APPS_MSG_SYS_EXIT && msgid <= E_APPS_MSG_SYS_MEMORY;
}

/* Whether the request is complete and asks for no more than an answer can hold. */
bool is_served() {
    const frwk_ipc_header &header = g_request.header;
    const size_t body = header.data_len > 0 ? static_cast<size_t>(header.data_len) : 0;
    return g_request.bytes.size() >= kHeaderSize && g_request.bytes.size() - kHeaderSize >= body &&
           header.rsp_size <= OS_MEM_BLOCK_MAX - kAnswerHeaderSize;
}

/* The complete answer that the peer reads. */
std::string received(int fd) {
    std::string bytes(kAnswerHeaderSize + kAnswerMax + 1, '\0');
    size_t taken = 0;
    ssize_t count = 1;
    while (count > 0 && taken < bytes.size()) {
        count = ::recv(fd, bytes.data() + taken, bytes.size() - taken, MSG_DONTWAIT);
        taken += count > 0 ? static_cast<size_t>(count) : 0;
    }
    bytes.resize(taken);
    return bytes;
}

void check_answer(const std::string &answer) {
    const frwk_ipc_header &header = g_request.header;
    if (!is_served() || header.async != 0) {
        FUZZ_CHECK(answer.empty());
        return;
    }
    FUZZ_CHECK(answer.size() == kAnswerHeaderSize + header.rsp_size);
    frwk_ipc_rsp_header answer_header;
    std::memcpy(&answer_header, answer.data(), sizeof(answer_header));
    FUZZ_CHECK(static_cast<uint32_t>(answer_header.rsp_len) == header.rsp_size);
    if (!is_system_message(header.msgid)) {
        FUZZ_CHECK(static_cast<uint32_t>(answer_header.result) == header.src);
        const std::string filled(header.rsp_size, static_cast<char>(kAnswerByte));
        FUZZ_CHECK(answer.compare(kAnswerHeaderSize, std::string::npos, filled) == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    g_request = {};
    g_request.bytes = {reinterpret_cast<const char *>(data), std::min(size, kInputMax)};
    std::memcpy(&g_request.header, data, std::min<size_t>(size, kHeaderSize));
    if (size >= kHeaderSize && ends_process(g_request.header.msgid)) {
        return 0;
    }
    reset_process_state(E_APPS_MODULE_MONITOR, nullptr);
    g_s_ipc_handler = handle;

    int ends[2];
    FUZZ_CHECK(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
    ipc::Connection service(UniqueFd(ends[0]), ipc::Connection::Mode::kBlocking);
    UniqueFd peer(ends[1]);
    const auto sent = ::send(peer.get(), g_request.bytes.data(), g_request.bytes.size(), 0);
    FUZZ_CHECK(sent == static_cast<ssize_t>(g_request.bytes.size()));
    FUZZ_CHECK(::shutdown(peer.get(), SHUT_WR) == 0);

    // An answer that is too large for the socket's buffer meets a closed peer.
    const bool stays = g_request.header.rsp_size <= kAnswerMax;
    if (!stays) {
        peer.reset();
    }
    ipc::serve(service);

    FUZZ_CHECK(g_request.handled == (is_served() && !is_system_message(g_request.header.msgid) ? 1 : 0));
    if (stays) {
        check_answer(received(peer.get()));
    }
    return 0;
}
