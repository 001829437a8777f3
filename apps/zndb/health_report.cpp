#include "health_report.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "apps_message.h"
#include "formats/device_paths.h"
#include "formats/ipc_wire.h"
#include "frwk_common.h"
#include "os_log.h"
#include "os_thread.h"
#include "support/uninterrupted.h"
#include "support/unique_fd.h"

namespace {

/* Between two questions while the service doesn't serve. */
constexpr uint32_t kRetryMs = 200;

struct StatusAnswer {
    frwk_ipc_rsp_header header;
    uint32_t status;
};
static_assert(sizeof(StatusAnswer) == sizeof(frwk_ipc_rsp_header) + sizeof(uint32_t));

bool connect_to(int fd, const char *path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)std::string_view(path).copy(address.sun_path, sizeof(address.sun_path) - 1);
    return uninterrupted([&] {
               return ::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address));
           }) == 0;
}

/* Returns false, with errno set, unless the service has answered. */
bool ask_status(int fd, StatusAnswer &answer) {
    frwk_ipc_header request = {};
    request.src = E_APPS_MODULE_ZNDB;
    request.msgid = E_APPS_MSG_SYS_STATUS;
    request.rsp_size = sizeof(answer.status);
    return uninterrupted([&] { return ::send(fd, &request, sizeof(request), MSG_NOSIGNAL); }) ==
               static_cast<ssize_t>(sizeof(request)) &&
           uninterrupted([&] { return ::recv(fd, &answer, sizeof(answer), MSG_WAITALL); }) ==
               static_cast<ssize_t>(sizeof(answer));
}

void *run_report(void *manager) {
    report_health(*static_cast<const ServiceManager *>(manager), paths::kZndbSocket);
    return nullptr;
}

}  // namespace

bool is_serving(const char *socket_path) {
    const UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    StatusAnswer answer = {};
    if (!fd || !connect_to(fd.get(), socket_path) || !ask_status(fd.get(), answer)) {
        OS_LOG(OS_LOG_WARNING, "the service at %s does not answer errno=%d", socket_path, errno);
        return false;
    }
    return answer.header.result == E_APPS_ERR_SUCCESS && answer.status == kIpcStatusServing;
}

void report_health(const ServiceManager &manager, const char *socket_path) {
    const auto report_if_serving = [&](std::string_view state) {
        const bool serving = is_serving(socket_path);
        if (serving) {
            manager.report(state);
        }
        return serving;
    };
    while (!report_if_serving("READY=1")) {
        frwk_sleep(kRetryMs);
    }
    const uint32_t pause = manager.watchdog_pause_ms();
    if (pause == 0) {
        return;
    }
    for (;;) {  // NOLINT(bugprone-infinite-loop): as long as the process lives
        frwk_sleep(report_if_serving("WATCHDOG=1") ? pause : std::min(pause, kRetryMs));
    }
}

void start_health_report(const ServiceManager &manager) {
    os_thread_t thread = 0;
    auto *argument = const_cast<ServiceManager *>(&manager);
    if (manager.listens() && os_thread_create(&thread, nullptr, run_report, argument) != 0) {
        OS_LOG(OS_LOG_WARNING, "no thread to report to the service manager");
    }
}
