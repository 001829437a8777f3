/*
 * Makes the module's listening socket. The thread that serves it is the service's business.
 */
#include "frwk_common/ipc_listener.h"

#include <unistd.h>

#include "frwk_common.h"
#include "frwk_common/ipc_address.h"
#include "internal/frwk_log.h"
#include "internal/frwk_paths.h"
#include "internal/owned.h"
#include "internal/shell.h"
#include "os_file.h"

namespace {

constexpr int kBacklog = 128;

void make_ipc_folder() {
    if (os_file_exist(paths::kIpcFolder) == 0) {
        shell_on_path("mkdir -p", paths::kIpcFolder);
    }
}

}  // namespace

int frwk_ipc_socket() {
    make_ipc_folder();

    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd) {
        FRWK_WARN_ERRNO("create ipc socket error!");
        return -1;
    }

    const int on = 1;
    if (::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) < 0) {
        FRWK_WARN_ERRNO("set socket reuse address error!");
    }

    // The file of an earlier run would refuse the bind for ever.
    const IpcAddress address = ipc_address(frwk_module_name(-1));
    (void)::unlink(address.un.sun_path);

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
