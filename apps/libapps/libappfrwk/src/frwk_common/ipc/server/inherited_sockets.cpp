/*
 * A connection is known by its own address, which is that of the listening socket.
 */
#include "frwk_common/ipc/server/inherited_sockets.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstring>

#include "formats/device_paths.h"
#include "internal/decimal.h"
#include "support/folder_list.h"
#include "support/unique_fd.h"

namespace {

/* The address that a socket is bound to. */
struct Address {
    sockaddr_un un = {};
    socklen_t size = sizeof(un);

    explicit Address(int fd) {
        if (::getsockname(fd, reinterpret_cast<sockaddr *>(&un), &size) != 0) {
            size = 0;
        }
    }
    bool is_named() const { return size > offsetof(sockaddr_un, sun_path) && un.sun_family == AF_UNIX; }
    bool operator==(const Address &other) const {
        return size == other.size && std::memcmp(&un, &other.un, size) == 0;
    }
};

}  // namespace

void close_inherited_sockets(int listener) {
    const Address own(listener);
    UniqueFd(listener).reset(); /* first: there may be no other descriptor to look with */
    if (!own.is_named()) {
        return;
    }
    FolderList descriptors(paths::kOwnDescriptors);
    while (const char *name = descriptors.next()) {
        const int fd = decimal_number(name);
        if (Address(fd) == own) {
            UniqueFd(fd).reset();
        }
    }
}
