/*
 * Where a module's socket lies.
 */
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

/* A socket address as bind and connect take it: always handed over whole. */
struct IpcAddress {
    sockaddr_un un;

    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&un); }
    static constexpr socklen_t size() { return sizeof(sockaddr_un); }
};

static_assert(sizeof(sockaddr_un) == 110);

/* Makes the address of a module's socket; a path that is too long is cut. name: null stands for "". */
IpcAddress ipc_address(const char *name);
