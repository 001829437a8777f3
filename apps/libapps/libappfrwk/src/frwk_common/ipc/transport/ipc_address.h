/*
 * The path of a module's socket.
 */
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

namespace ipc {

/* A socket address for bind and connect, which are always given its full size. */
struct Address {
    sockaddr_un un;

    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&un); }
    static constexpr socklen_t size() { return sizeof(sockaddr_un); }
};

static_assert(sizeof(sockaddr_un) == 110);

/* Returns the address of a module's socket; a path that is too long is truncated. name: null means "". */
Address address_of(const char *name);

}  // namespace ipc
