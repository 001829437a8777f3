/*
 * Fuzzes a peer's answer to frwk_ipc_send_sync: connect(2) is replaced and provides a socket with the answer.
 *
 * The input is the size of the sender's buffer (2 bytes), that of its request (2 bytes), and the answer.
 */
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

#include "formats/ipc_wire.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "support/fuzz_input.h"
#include "support/unique_fd.h"

namespace {

constexpr uint32_t kBufferMax = 2048;
constexpr size_t kAnswerMax = 65536;
constexpr int32_t kUntouched = 0x5A5A5A5A;
constexpr char kUntouchedByte = 'u';
constexpr int32_t kMessage = 9001;

int g_sender_end = -1;

/* The sender's result according to the protocol. */
apps_err_e_type expected(std::string_view answer, uint32_t rsp_size) {
    frwk_ipc_rsp_header header;
    if (answer.size() < sizeof(header)) {
        return E_APPS_ERR_READ;
    }
    std::memcpy(&header, answer.data(), sizeof(header));
    const size_t length = header.rsp_len > 0 ? static_cast<size_t>(header.rsp_len) : 0;
    if (length > rsp_size) {
        return E_APPS_ERR_OUTOFBUF;
    }
    if (length > answer.size() - sizeof(header)) {
        return E_APPS_ERR_READ;
    }
    return header.result == E_APPS_ERR_TIMEOUT ? E_APPS_ERR_TIMEOUT : E_APPS_ERR_SUCCESS;
}

bool untouched_from(const std::vector<char> &rsp, size_t begin) {
    return std::all_of(rsp.begin() + static_cast<ptrdiff_t>(begin), rsp.end(),
                       [](char byte) { return byte == kUntouchedByte; });
}

/* How many bytes of a failed answer may be in the sender's buffer: large answers are read directly into it.
 */
size_t left_by_failure(std::string_view answer, uint32_t rsp_size) {
    frwk_ipc_rsp_header header;
    const bool cut_in_data = answer.size() > sizeof(header) && expected(answer, rsp_size) == E_APPS_ERR_READ;
    return cut_in_data && rsp_size > kIpcFixedBuffer ? answer.size() - sizeof(header) : 0;
}

/* Checks the sender's variables after an answered request. */
void check_delivered(std::string_view answer, const std::vector<char> &rsp, int32_t result) {
    frwk_ipc_rsp_header header;
    std::memcpy(&header, answer.data(), sizeof(header));
    FUZZ_CHECK(result == header.result);
    const size_t length = header.rsp_len > 0 ? static_cast<size_t>(header.rsp_len) : 0;
    FUZZ_CHECK(length == 0 || std::memcmp(rsp.data(), answer.data() + sizeof(header), length) == 0);
    FUZZ_CHECK(untouched_from(rsp, length));
}

/* Checks that the peer received the request. */
void check_request(int peer, const std::vector<char> &request, uint32_t rsp_size) {
    frwk_ipc_header header;
    std::vector<char> body(request.size());
    FUZZ_CHECK(::recv(peer, &header, sizeof(header), MSG_DONTWAIT) == sizeof(header));
    FUZZ_CHECK(header.src == E_APPS_MODULE_MONITOR && header.msgid == kMessage && header.async == 0);
    FUZZ_CHECK(header.rsp_size == rsp_size && header.data_len == static_cast<int32_t>(request.size()));
    if (!request.empty()) {
        const ssize_t count = ::recv(peer, body.data(), body.size(), MSG_DONTWAIT);
        FUZZ_CHECK(count == static_cast<ssize_t>(body.size()) && body == request);
    }
}

}  // namespace

/* Replaces the socket to be connected by the prepared one. */
extern "C" int __wrap_connect(int fd, const sockaddr *, socklen_t) {
    return ::dup3(g_sender_end, fd, O_CLOEXEC) == fd ? 0 : -1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    std::vector<char> rsp(input.number(kBufferMax), kUntouchedByte);
    const std::vector<char> request(input.number(kBufferMax), 'q');
    const std::string_view answer = input.take(kAnswerMax);
    reset_process_state(E_APPS_MODULE_MONITOR, nullptr);

    int ends[2];
    FUZZ_CHECK(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
    const UniqueFd sender(ends[0]);
    const UniqueFd peer(ends[1]);
    g_sender_end = sender.get();
    FUZZ_CHECK(::send(peer.get(), answer.data(), answer.size(), 0) == static_cast<ssize_t>(answer.size()));
    FUZZ_CHECK(::shutdown(peer.get(), SHUT_WR) == 0);

    int32_t result = kUntouched;
    const auto rsp_size = static_cast<uint32_t>(rsp.size());
    const apps_err_e_type ret = frwk_ipc_send_sync(
        E_APPS_MODULE_ZNDB, kMessage, request.empty() ? nullptr : request.data(),
        static_cast<uint32_t>(request.size()), rsp.empty() ? nullptr : rsp.data(), rsp_size, 1, &result);

    FUZZ_CHECK(ret == expected(answer, rsp_size));
    if (ret == E_APPS_ERR_SUCCESS || ret == E_APPS_ERR_TIMEOUT) {
        check_delivered(answer, rsp, result);
    } else {
        FUZZ_CHECK(result == kUntouched);
        FUZZ_CHECK(untouched_from(rsp, left_by_failure(answer, rsp_size)));
    }
    check_request(peer.get(), request, rsp_size);
    return 0;
}
