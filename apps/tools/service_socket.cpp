#include "service_socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "apps_message.h"
#include "frwk_module.h"
#include "table_names.h"

namespace {

class Connection {
  public:
    explicit Connection(uint32_t module);
    ~Connection() { ::close(fd_); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    int fd() const { return fd_; }
    int error() const { return error_; }

  private:
    int fd_;
    int error_;
};

std::string socket_path(uint32_t module) {
    return "/tmp/m_tmp/ipc/" + module_text(module);
}

Connection::Connection(uint32_t module)
    : fd_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)), error_(0) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)socket_path(module).copy(address.sun_path, sizeof(address.sun_path) - 1);
    if (::connect(fd_, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        error_ = errno;
    }
}

}  // namespace

bool is_served(uint32_t module) {
    const Connection connection(module);
    return connection.error() == 0 || connection.error() == EAGAIN;
}

void wait_for_last_answer(uint32_t module, const SignalWatch &watch) {
    const Connection connection(module);
    /* sender, message, asynchronous, time limit, room for an answer, length of the body */
    const int32_t request[] = {E_APPS_MODULE_APPTEST, E_APPS_MSG_SYS_PROBE, 0, 1, 0, 0};
    const bool sent = connection.error() == 0 && ::write(connection.fd(), request, sizeof(request)) ==
                                                     static_cast<ssize_t>(sizeof(request));
    if (sent) {
        (void)watch.wait(connection.fd(), -1);
    }
}

void remove_service_socket(uint32_t module) {
    (void)::unlink(socket_path(module).c_str());
}
