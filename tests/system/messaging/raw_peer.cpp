#include "raw_peer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

std::string socket_path(const std::string &module) {
    return "/tmp/m_tmp/ipc/" + module;
}

sockaddr_un address_of(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (void)std::snprintf(address.sun_path, sizeof(address.sun_path), "%s", path.c_str());
    return address;
}

RawConnection connect_to(const std::string &module, int flags) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0);
    const sockaddr_un address = address_of(socket_path(module));
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        ::close(fd);
        return RawConnection();
    }
    return RawConnection(fd);
}

bool readable_within(int fd, std::chrono::milliseconds limit) {
    pollfd readable = {fd, POLLIN, 0};
    return ::poll(&readable, 1, static_cast<int>(std::max<int64_t>(limit.count(), 0))) > 0;
}

}  // namespace

std::string words(std::initializer_list<uint32_t> values) {
    std::string bytes;
    for (const uint32_t value : values) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>((value >> shift) & 0xFF);
        }
    }
    return bytes;
}

uint32_t word_at(const std::string &bytes, size_t offset) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4 && offset + i < bytes.size(); ++i) {
        value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[offset + i])) << (8 * i);
    }
    return value;
}

RawConnection::RawConnection(RawConnection &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

RawConnection &RawConnection::operator=(RawConnection &&other) noexcept {
    close();
    fd_ = std::exchange(other.fd_, -1);
    return *this;
}

RawConnection RawConnection::to(const std::string &module) {
    return connect_to(module, 0);
}

RawConnection RawConnection::try_to(const std::string &module) {
    return connect_to(module, SOCK_NONBLOCK);
}

bool RawConnection::send(const std::string &bytes) {
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<size_t>(count);
    }
    return true;
}

std::string RawConnection::receive(size_t size, std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    std::string bytes;
    while (bytes.size() < size) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        char chunk[65536];
        ssize_t count = 0;
        if (readable_within(fd_, left)) {
            count = ::recv(fd_, chunk, std::min(sizeof(chunk), size - bytes.size()), 0);
        }
        if (count <= 0) {
            break;
        }
        bytes.append(chunk, static_cast<size_t>(count));
    }
    return bytes;
}

std::string RawConnection::receive_rest(std::chrono::milliseconds limit) {
    return receive(std::string::npos, limit);
}

bool RawConnection::closes(std::chrono::milliseconds limit) {
    char byte = 0;
    return readable_within(fd_, limit) && ::recv(fd_, &byte, 1, MSG_DONTWAIT) <= 0;
}

bool RawConnection::stays_silent(std::chrono::milliseconds time) {
    return !readable_within(fd_, time);
}

void RawConnection::close() {
    if (fd_ >= 0) {
        ::close(std::exchange(fd_, -1));
    }
}

RawServer::RawServer(const std::string &module, int backlog) : path_(socket_path(module)) {
    ::mkdir("/tmp/m_tmp/ipc", 0777);
    ::unlink(path_.c_str());
    fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = address_of(path_);
    if (::bind(fd_, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0 ||
        ::listen(fd_, backlog) != 0) {
        std::perror(path_.c_str());
        std::abort();
    }
}

RawServer::~RawServer() {
    ::close(fd_);
    ::unlink(path_.c_str());
}

RawConnection RawServer::accept(std::chrono::milliseconds limit) {
    if (!readable_within(fd_, limit)) {
        return RawConnection();
    }
    return RawConnection(::accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC));
}
