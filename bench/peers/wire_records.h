/*
 * The headers of the wire protocol (docs/ipc-protocol.md), for programs that speak it without the library.
 */
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>

struct WireRequest {
    uint32_t src;
    int32_t msgid;
    uint32_t async;
    uint32_t timeout;
    uint32_t rsp_size;
    int32_t data_len;
};

struct WireAnswer {
    int32_t result;
    int32_t rsp_len;
};

inline const sockaddr *as_address(const sockaddr_un &address) {
    return reinterpret_cast<const sockaddr *>(&address);
}
