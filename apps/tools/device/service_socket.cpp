#include "device/service_socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "apps_message.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "device/access_words.h"
#include "formats/device_paths.h"
#include "formats/ipc_wire.h"
#include "frwk_module.h"
#include "support/unique_fd.h"

namespace {

class Connection {
  public:
    explicit Connection(uint32_t module);

    int fd() const { return fd_.get(); }
    int error() const { return error_; }

  private:
    const UniqueFd fd_;
    int error_;
};

std::string socket_path(uint32_t module) {
    return std::string(paths::kIpcFolder) + "/" + module_text(module);
}

Connection::Connection(uint32_t module)
    : fd_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)), error_(0) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)socket_path(module).copy(address.sun_path, sizeof(address.sun_path) - 1);
    if (::connect(fd_.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        error_ = errno;
    }
}

}  // namespace

std::string absence_words(uint32_t module) {
    const Connection connection(module);
    switch (connection.error()) {
        case 0:
            return "could not be asked, but listens now";
        case ENOENT:
            return "is not running";
        case ECONNREFUSED:
            return "is not running any more: nobody listens on its socket";
        case EAGAIN:
            return "is busy: its queue of requests is full";
        case EACCES:
            return "can't be reached: " + access_words(socket_path(module));
        default:
            return errno_text("can't be reached", connection.error());
    }
}

bool is_forbidden(uint32_t module) {
    return Connection(module).error() == EACCES;
}

pid_t serving_process(uint32_t module) {
    const Connection connection(module);
    ucred peer = {};
    socklen_t size = sizeof(peer);
    const bool known =
        connection.error() == 0 && ::getsockopt(connection.fd(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
    return known ? peer.pid : 0;
}

bool is_served(uint32_t module) {
    const Connection connection(module);
    return connection.error() == 0 || connection.error() == EAGAIN;
}

void wait_for_last_answer(uint32_t module, const SignalWatch &watch) {
    const Connection connection(module);
    frwk_ipc_header request = {};
    request.src = E_APPS_MODULE_APPTEST;
    request.msgid = E_APPS_MSG_SYS_PROBE;
    request.timeout = 1;
    const bool sent = connection.error() == 0 && ::write(connection.fd(), &request, sizeof(request)) ==
                                                     static_cast<ssize_t>(sizeof(request));
    if (sent) {
        (void)watch.wait(connection.fd(), -1);
    }
}

void remove_service_socket(uint32_t module) {
    (void)::unlink(socket_path(module).c_str());
}
