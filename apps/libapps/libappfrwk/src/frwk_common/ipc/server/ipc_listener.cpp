/*
 * Creates the module's listening socket. ipc_service.cpp has the thread that serves it.
 */
#include "frwk_common/ipc/server/ipc_listener.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>

#include "formats/device_paths.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "frwk_common/ipc/transport/ipc_address.h"
#include "internal/frwk_log.h"
#include "internal/guarded_folder.h"
#include "internal/planted.h"
#include "support/held_over_forks.h"
#include "support/unique_fd.h"

namespace ipc {

namespace {

/* Held by a fork, and while a socket exists that is not noted yet. Nothing is logged meanwhile. */
struct Opening {
    std::mutex mutex;
};

Opening g_opening;

__attribute__((constructor)) void hold_opening_over_forks() {
    hold_over_forks<g_opening>();
}

constexpr int kBacklog = 128;

/* Whoever may write to the socket may connect, and end the module: only its owner and root. */
constexpr mode_t kSocketMode = 0755;

/* Otherwise the file of an earlier run, or one of another user, would make bind fail. */
void remove_old_socket(const char *path) {
    if (::unlink(path) != 0 && errno != ENOENT) {
        (void)set_aside_planted(path, FolderOwner::kTrusted);
    }
}

/* Opens the socket and notes it at once: a child that another thread forks later closes what is noted. */
bool open_socket() {
    const std::lock_guard<std::mutex> lock(g_opening.mutex);
    g_s_ipcs_fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    return g_s_ipcs_fd >= 0;
}

/* Gives the socket its file. Returns false, logged, on failure. */
bool bind_socket(int fd) {
    const int on = 1;
    if (::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) < 0) {
        FRWK_WARN_ERRNO(log_name::kIpcSocket, "set socket reuse address error!");
    }

    // Before bind, which creates the file with this mode less the umask.
    if (::fchmod(fd, kSocketMode) < 0) {
        FRWK_WARN_ERRNO(log_name::kIpcSocket, "set ipc socket mode error!");
        return false;
    }

    const Address address = address_of(frwk_module_name(-1));
    remove_old_socket(address.un.sun_path);
    if (::bind(fd, address.get(), Address::size()) < 0) {
        FRWK_WARN_ERRNO(log_name::kIpcSocket, "socket bind error!");
        return false;
    }
    if (::listen(fd, kBacklog) < 0) {
        FRWK_WARN_ERRNO(log_name::kIpcSocket, "socket listen error!");
        return false;
    }
    return true;
}

}  // namespace

void make_listener() {
    make_guarded_temp_folder(paths::kIpcFolder);

    if (!open_socket()) {
        FRWK_WARN_ERRNO(log_name::kIpcSocket, "create ipc socket error!");
    } else if (!bind_socket(g_s_ipcs_fd)) {
        UniqueFd(g_s_ipcs_fd.exchange(-1)).reset();
    }
}

}  // namespace ipc
