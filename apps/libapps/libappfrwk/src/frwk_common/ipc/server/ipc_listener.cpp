/*
 * Creates the module's listening socket. ipc_service.cpp has the thread that serves it.
 */
#include "frwk_common/ipc/server/ipc_listener.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "formats/device_paths.h"
#include "frwk_common.h"
#include "frwk_common/ipc/transport/ipc_address.h"
#include "internal/frwk_log.h"
#include "internal/guarded_folder.h"
#include "internal/planted.h"
#include "support/unique_fd.h"

namespace ipc {

namespace {

constexpr int kBacklog = 128;

/* Whoever may write to the socket may connect, and end the module: only its owner and root. */
constexpr mode_t kSocketMode = 0755;

/* Otherwise the file of an earlier run, or one of another user, would make bind fail. */
void remove_old_socket(const char *path) {
    if (::unlink(path) != 0 && errno != ENOENT) {
        (void)set_aside_planted(path, FolderOwner::kTrusted);
    }
}

}  // namespace

UniqueFd make_listener() {
    make_guarded_temp_folder(paths::kIpcFolder);

    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd) {
        FRWK_WARN_ERRNO(log_name::kIpcSocket, "create ipc socket error!");
        return UniqueFd();
    }

    const int on = 1;
    if (::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) < 0) {
        FRWK_WARN_ERRNO(log_name::kIpcSocket, "set socket reuse address error!");
    }

    // Before bind, which creates the file with this mode less the umask.
    if (::fchmod(fd.get(), kSocketMode) < 0) {
        FRWK_WARN_ERRNO(log_name::kIpcSocket, "set ipc socket mode error!");
        return UniqueFd();
    }

    const Address address = address_of(frwk_module_name(-1));
    remove_old_socket(address.un.sun_path);
    if (::bind(fd.get(), address.get(), Address::size()) < 0) {
        FRWK_WARN_ERRNO(log_name::kIpcSocket, "socket bind error!");
        return UniqueFd();
    }
    if (::listen(fd.get(), kBacklog) < 0) {
        FRWK_WARN_ERRNO(log_name::kIpcSocket, "socket listen error!");
        return UniqueFd();
    }
    return fd;
}

}  // namespace ipc
