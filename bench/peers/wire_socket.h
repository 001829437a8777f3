/*
 * The code shared by the hand-written peers: addresses, and exact-length writes. They use the protocol of
 * docs/ipc-protocol.md, and differ only in their system calls.
 */
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "peers/peer.h"
#include "peers/wire_records.h"

inline sockaddr_un wire_address(const char *kind, unsigned index) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = bench_folder() + "/" + kind + "." + std::to_string(index);
    (void)path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

inline int wire_listen(const sockaddr_un &address) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    (void)::unlink(address.sun_path);
    require(fd >= 0 && ::bind(fd, as_address(address), sizeof(address)) == 0 && ::listen(fd, 128) == 0,
            "listen");
    return fd;
}

inline void write_all(int fd, const unsigned char *data, size_t size) {
    for (size_t done = 0; done < size;) {
        const ssize_t count = ::write(fd, data + done, size - done);
        require(count > 0, "write");
        done += static_cast<size_t>(count);
    }
}

/* A request in wire format, header and body in one block, so that it is built once and not for each send. */
inline Bytes wire_request(const Bytes &body, bool async) {
    const WireRequest header = {51,
                                3001,
                                async ? 1u : 0u,
                                3,
                                async ? 0 : wanted_answer(body.data(), body.size()),
                                static_cast<int32_t>(body.size())};
    Bytes request(sizeof(header) + body.size());
    std::memcpy(request.data(), &header, sizeof(header));
    std::memcpy(request.data() + sizeof(header), body.data(), body.size());
    return request;
}
