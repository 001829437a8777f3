#include "device/service_socket.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "apps_message.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
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

std::string owner_name(uid_t user) {
    // cppcheck-suppress getpwuidCalled ; only the main thread calls it
    const passwd *entry = ::getpwuid(user);  // NOLINT(concurrency-mt-unsafe): only the main thread calls it
    return entry != nullptr ? entry->pw_name : std::to_string(user);
}

/* The first folder above a path that this process may not search, or else the path itself. */
std::string first_closed(const std::string &path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        std::string folder = path.substr(0, slash);
        if (::faccessat(AT_FDCWD, folder.c_str(), X_OK, AT_EACCESS) != 0) {
            return folder;
        }
    }
    return path;
}

/* Describes the folder or file that can't be accessed, with its owner and mode. */
std::string closed_words(const std::string &path) {
    const std::string closed = first_closed(path);
    struct stat info = {};
    const bool known = ::stat(closed.c_str(), &info) == 0;
    char mode[16];
    (void)std::snprintf(mode, sizeof(mode), "%04o", static_cast<unsigned>(info.st_mode & 07777));
    return "no access to " + closed +
           (known ? " (owner " + owner_name(info.st_uid) + ", mode " + mode + ")" : "");
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
            return "can't be reached: " + closed_words(socket_path(module));
        default:
            return errno_text("can't be reached", connection.error());
    }
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
