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

int frwk_ipc_socket() {
    make_guarded_temp_folder(paths::kIpcFolder);

    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd) {
        FRWK_WARN_ERRNO("create ipc socket error!");
        return -1;
    }

    const int on = 1;
    if (::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) < 0) {
        FRWK_WARN_ERRNO("set socket reuse address error!");
    }

    // Before bind, which creates the file with this mode less the umask.
    if (::fchmod(fd.get(), kSocketMode) < 0) {
        FRWK_WARN_ERRNO("set ipc socket mode error!");
        return -1;
    }

    const IpcAddress address = ipc_address(frwk_module_name(-1));
    remove_old_socket(address.un.sun_path);
    if (::bind(fd.get(), address.get(), IpcAddress::size()) < 0) {
        FRWK_WARN_ERRNO("socket bind error!");
        return -1;
    }
    if (::listen(fd.get(), kBacklog) < 0) {
        FRWK_WARN_ERRNO("socket listen error!");
        return -1;
    }
    return fd.take();
}
