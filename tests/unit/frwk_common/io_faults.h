/*
 * Faults in reading and writing a connection, whichever of the system's calls the library makes for it.
 */
#pragma once

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/uio.h>

#include <cstddef>
#include <functional>
#include <vector>

#include "doubles/libc_doubles.h"

namespace io_faults {

using Transfer = std::function<ssize_t(int fd, void *buf, size_t size)>;
using Output = std::function<ssize_t(int fd, const void *buf, size_t size)>;

/*
 * Answers every read of the library. act: gets the real transfer first, then the arguments. read and recv go
 * there.
 */
inline void on_read(const std::function<ssize_t(const Transfer &real, int fd, void *buf, size_t size)> &act) {
    doubles::libc::recv.stand_in([act](int fd, void *buf, size_t size, int flags) {
        const Transfer real = [flags](int its_fd, void *its_buf, size_t its_size) {
            return doubles::libc::recv.real(its_fd, its_buf, its_size, flags);
        };
        return act(real, fd, buf, size);
    });
    doubles::libc::read.stand_in([act](int fd, void *buf, size_t size) {
        const Transfer real = [](int its_fd, void *its_buf, size_t its_size) {
            return doubles::libc::read.real(its_fd, its_buf, its_size);
        };
        return act(real, fd, buf, size);
    });
}

/* The bytes of all parts of a message, one after the other. */
inline std::vector<unsigned char> gather(const msghdr &message) {
    std::vector<unsigned char> bytes;
    for (size_t i = 0; i < message.msg_iovlen; ++i) {
        const auto *part = static_cast<const unsigned char *>(message.msg_iov[i].iov_base);
        bytes.insert(bytes.end(), part, part + message.msg_iov[i].iov_len);
    }
    return bytes;
}

/* Answers every write of the library: send, sendmsg, with its parts as one buffer, and write all go there. */
inline void on_write(
    const std::function<ssize_t(const Output &real, int fd, const void *buf, size_t size)> &act) {
    doubles::libc::send.stand_in([act](int fd, const void *buf, size_t size, int flags) {
        const Output real = [flags](int its_fd, const void *its_buf, size_t its_size) {
            return doubles::libc::send.real(its_fd, its_buf, its_size, flags);
        };
        return act(real, fd, buf, size);
    });
    doubles::libc::sendmsg.stand_in([act](int fd, const msghdr *message, int flags) {
        const Output real = [flags](int its_fd, const void *its_buf, size_t its_size) {
            return doubles::libc::send.real(its_fd, its_buf, its_size, flags);
        };
        const std::vector<unsigned char> bytes = gather(*message);
        return act(real, fd, bytes.data(), bytes.size());
    });
    doubles::libc::write.stand_in([act](int fd, const void *buf, size_t size) {
        const Output real = [](int its_fd, const void *its_buf, size_t its_size) {
            return doubles::libc::write.real(its_fd, its_buf, its_size);
        };
        return act(real, fd, buf, size);
    });
}

inline unsigned reads() {
    return doubles::libc::recv.calls() + doubles::libc::read.calls();
}
inline unsigned writes() {
    return doubles::libc::send.calls() + doubles::libc::sendmsg.calls() + doubles::libc::write.calls();
}

}  // namespace io_faults
