#include "service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "internal/decimal.h"
#include "os_log.h"
#include "support/uninterrupted.h"
#include "support/unique_fd.h"

namespace {

constexpr uint64_t kUsecPerMs = 1000;
constexpr size_t kDigitsMax = 18; /* of a number of 64 bits, always */

const char *variable(const char *name) {
    return std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody changes the environment
}

/* The kernel's form of NOTIFY_SOCKET; "" without one, or for one that is no path and no abstract name. */
std::string socket_address() {
    const char *text = variable("NOTIFY_SOCKET");
    if (text == nullptr) {
        return "";
    }
    const size_t size = std::strlen(text);
    const bool known = size > 1 && (text[0] == '/' || text[0] == '@');
    if (!known || size >= sizeof(sockaddr_un::sun_path)) {
        OS_LOG(OS_LOG_WARNING, "NOTIFY_SOCKET is not the address of a local socket: nothing is reported");
        return "";
    }
    std::string address(text, size);
    if (address[0] == '@') {
        address[0] = '\0';
    }
    return address;
}

/* A watchdog may be meant for another process, such as the shell that started this one. */
bool is_watched() {
    const char *process = variable("WATCHDOG_PID");
    return process == nullptr || std::to_string(::getpid()) == process;
}

uint32_t watchdog_pause() {
    const char *text = variable("WATCHDOG_USEC");
    if (text == nullptr || !is_watched()) {
        return 0;
    }
    const size_t digits = std::strspn(text, "0123456789");
    const uint64_t limit = decimal_unsigned_number(text);
    if (digits > kDigitsMax || text[digits] != '\0' || limit == 0) {
        OS_LOG(OS_LOG_WARNING, "WATCHDOG_USEC is not a number of microseconds: no watchdog is served");
        return 0;
    }
    return static_cast<uint32_t>(std::clamp<uint64_t>(limit / kUsecPerMs / 2, 1, UINT32_MAX));
}

/* Returns false, with errno set, on failure. */
bool send_to(const std::string &address, std::string_view state) {
    const UniqueFd fd(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un manager = {};
    manager.sun_family = AF_UNIX;
    (void)address.copy(manager.sun_path, sizeof(manager.sun_path));
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
    return fd && ::connect(fd.get(), reinterpret_cast<const sockaddr *>(&manager), size) == 0 &&
           uninterrupted([&] {
               return ::send(fd.get(), state.data(), state.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
           }) >= 0;
}

}  // namespace

ServiceManager::ServiceManager() : address_(socket_address()) {
    if (listens()) {
        watchdog_pause_ms_ = watchdog_pause();
    }
}

void ServiceManager::report(std::string_view state) const {
    if (listens() && !send_to(address_, state)) {
        OS_LOG(OS_LOG_WARNING, "can't report %.*s to the service manager errno=%d",
               static_cast<int>(state.size()), state.data(), errno);
    }
}
