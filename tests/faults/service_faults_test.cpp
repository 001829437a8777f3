/*
 * The service thread: faults in the calls that it makes for requests from the module's
 * socket.
 */
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "faults/faulty_device.h"
#include "formats/ipc_wire.h"
#include "frwk_common.h"
#include "frwk_ipc_ext.h"

namespace faults {

namespace {

using ServiceFaults = FaultyDevice;

constexpr char kSocket[] = "/tmp/m_tmp/ipc/monitor_tool";

constexpr apps_message_id_e_type kApart = 3002;

/* The result of a sequence of requests. */
enum Outcome : long {
    kAllAnswered = 0,
    kOneLost = 1 /* its connection was closed without an answer */
};

apps_err_e_type echo(uint32_t, apps_message_id_e_type, const void *data, int32_t data_len, void *rsp,
                     uint32_t rsp_size, uint32_t) {
    if (rsp != nullptr && data != nullptr && static_cast<uint32_t>(data_len) <= rsp_size) {
        std::memcpy(rsp, data, static_cast<size_t>(data_len));
    }
    return E_APPS_ERR_SUCCESS;
}

int connect_to_service() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, kSocket);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    (void)::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address));
    return fd;
}

/* Everything that comes until the connection is closed; at most size bytes are kept. */
size_t receive_all(int fd, char *to, size_t size) {
    size_t total = 0;
    ssize_t count = 0;
    while ((count = ::recv(fd, to + total, size - total, 0)) > 0) {
        total += static_cast<size_t>(count);
    }
    return total;
}

template <size_t kSize>
struct Request {
    frwk_ipc_header header = {E_APPS_MODULE_SMS, kEcho, 0, 3, kSize, kSize};
    char body[kSize];
};

/* Sends a request and waits until the service has done with it. Returns whether the answer is right. */
template <size_t kSize>
bool exchange() {
    Request<kSize> request;
    std::memset(request.body, 'r', kSize);
    char answer[sizeof(frwk_ipc_rsp_header) + kSize + 1];

    const int fd = connect_to_service();
    (void)::send(fd, &request, sizeof(request), MSG_NOSIGNAL);
    const size_t size = receive_all(fd, answer, sizeof(answer));
    (void)::close(fd);
    return size == sizeof(frwk_ipc_rsp_header) + kSize &&
           std::memcmp(answer + sizeof(frwk_ipc_rsp_header), request.body, kSize) == 0;
}

/* Two, so that the service's way from one connection to the next is on it. */
template <size_t kSize>
long exchange_twice() {
    const bool first = exchange<kSize>();
    const bool second = exchange<kSize>();
    return first && second ? kAllAnswered : kOneLost;
}

/* A request without a body, whose message is registered for it. */
long exchange_apart() {
    const frwk_ipc_header request = {E_APPS_MODULE_SMS, kApart, 0, 3, sizeof(uint32_t), 0};
    frwk_ipc_rsp_header answer = {-1, 0};
    const int fd = connect_to_service();
    (void)::send(fd, &request, sizeof(request), MSG_NOSIGNAL);
    char bytes[sizeof(answer) + sizeof(uint32_t) + 1] = "";
    const size_t size = receive_all(fd, bytes, sizeof(bytes));
    (void)::close(fd);
    std::memcpy(&answer, bytes, sizeof(answer));
    return size == sizeof(bytes) - 1 && answer.result == E_APPS_ERR_SUCCESS ? kAllAnswered : kOneLost;
}

std::vector<Scenario> serving() {
    return {
        Scenario("the service, requests that are handled apart")
            .called(exchange_apart)
            .failing({kOneLost})
            .on_other_threads()
            .varying(),
        Scenario("the service, small requests")
            .called(exchange_twice<16>)
            .failing({kOneLost})
            .on_other_threads()
            .varying(),
        Scenario("the service, large requests")
            .called(exchange_twice<3000>)
            .failing({kOneLost})
            .on_other_threads()
            .varying(),
    };
}

}  // namespace

TEST_F(ServiceFaults, Requests) {
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_ipc_handle_apart(kApart));
    frwk_ipc_service_ex(echo, 0);
    run_scenarios(serving());
}

}  // namespace faults
