/*
 * The other end of a conversation, played by the test: a module's listening socket, and a peer that
 * answers one request with given bytes.
 *
 * Once connected it uses calls that no stand-in replaces (readv, sendmmsg), so that faults meet the library
 * only.
 */
#pragma once

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>

#include "unit/frwk_common/ipc/wire_bytes.h"

/* No peer of a test is waited for longer than this. */
inline constexpr int kPeerLimitSeconds = 20;

inline void limit_waits(int fd) {
    const timeval limit = {kPeerLimitSeconds, 0};
    (void)setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
}

inline void make_ipc_folder() {
    (void)mkdir("/tmp/m_tmp", 0755);
    (void)mkdir("/tmp/m_tmp/ipc", 0755);
}

inline std::string socket_path(const std::string &module_name) {
    return "/tmp/m_tmp/ipc/" + module_name;
}

/* Reads size bytes, or as many as come before the end. */
inline Bytes read_bytes(int fd, size_t size) {
    Bytes bytes(size);
    size_t total = 0;
    while (total < size) {
        const iovec piece = {bytes.data() + total, size - total};
        const ssize_t count = readv(fd, &piece, 1);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        total += static_cast<size_t>(count);
    }
    bytes.resize(total);
    return bytes;
}

/* Reads all that comes before the end. */
inline Bytes read_to_end(int fd) {
    Bytes all;
    for (;;) {
        const Bytes piece = read_bytes(fd, 4096);
        all.insert(all.end(), piece.begin(), piece.end());
        if (piece.size() < 4096) {
            return all;
        }
    }
}

/* Writes to a socket. Returns whether all bytes were taken; a peer that is gone is no signal. */
inline bool write_bytes(int fd, const Bytes &bytes) {
    size_t total = 0;
    while (total < bytes.size()) {
        iovec piece = {const_cast<unsigned char *>(bytes.data()) + total, bytes.size() - total};
        msghdr message = {};
        message.msg_iov = &piece;
        message.msg_iovlen = 1;
        mmsghdr one = {message, 0};
        const ssize_t count =
            sendmmsg(fd, &one, 1, MSG_NOSIGNAL) == 1 ? static_cast<ssize_t>(one.msg_len) : -1;
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        total += static_cast<size_t>(count);
    }
    return true;
}

/* A connected pair: one end for the code under test, one for the test. */
class SocketPair {
  public:
    SocketPair() { open(); }
    SocketPair(const SocketPair &) = delete;
    SocketPair &operator=(const SocketPair &) = delete;
    ~SocketPair() {
        close_subject();
        close_test();
    }

    int subject() const { return fds_[0]; }
    int test() const { return fds_[1]; }
    /* Hands the library's end over. */
    int take_subject() { return std::exchange(fds_[0], -1); }
    void close_subject() { close_one(&fds_[0]); }
    void close_test() { close_one(&fds_[1]); }
    /* Puts a new pair in its place. */
    void reopen() {
        close_subject();
        close_test();
        open();
    }
    /* Ends the stream towards the code under test; the way back stays open. */
    void end_input() { (void)shutdown(fds_[1], SHUT_WR); }

  private:
    void open() {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds_) != 0) {
            fds_[0] = fds_[1] = -1;
        }
        limit_waits(fds_[1]);
    }
    static void close_one(int *fd) {
        if (*fd >= 0) {
            (void)close(*fd);
            *fd = -1;
        }
    }

    int fds_[2] = {-1, -1};
};

inline sockaddr_un socket_address(const std::string &module_name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)std::snprintf(address.sun_path, sizeof(address.sun_path), "%s", socket_path(module_name).c_str());
    return address;
}

/* A connection to a module's socket, which the caller closes, or -1. flags: SOCK_NONBLOCK or nothing. */
inline int connect_to(const std::string &module_name, int flags = 0) {
    const sockaddr_un address = socket_address(module_name);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0);
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        (void)close(fd);
        return -1;
    }
    limit_waits(fd);
    return fd;
}

/* A module's answer to a request. */
inline Bytes ask_module(const std::string &module_name, const Bytes &sent) {
    const int fd = connect_to(module_name);
    (void)write_bytes(fd, sent);
    Bytes answer = read_to_end(fd);
    (void)close(fd);
    return answer;
}

/* The listening socket of a module that is not there. */
class TestListener {
  public:
    explicit TestListener(const std::string &module_name, int backlog = 16)
        : path_(socket_path(module_name)) {
        make_ipc_folder();
        (void)unlink(path_.c_str());
        const sockaddr_un address = socket_address(module_name);
        fd_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ok_ = fd_ >= 0 && ::bind(fd_, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0 &&
              ::listen(fd_, backlog) == 0;
        limit_waits(fd_);
    }
    TestListener(const TestListener &) = delete;
    TestListener &operator=(const TestListener &) = delete;
    ~TestListener() {
        stop();
        (void)unlink(path_.c_str());
    }

    bool ok() const { return ok_; }

    /* Stops listening; the file stays, as after the end of a process. */
    void stop() {
        if (fd_ >= 0) {
            (void)close(fd_);
            fd_ = -1;
        }
    }

    /* Waits for a connection, which the caller closes. Returns -1 when none came. */
    int accept() const {
        const int fd = ::accept(fd_, nullptr, nullptr);
        if (fd >= 0) {
            limit_waits(fd);
        }
        return fd;
    }

    /* Waits for a connection and returns what its sender wrote before it closed. */
    Bytes take_message() const {
        const int fd = accept();
        if (fd < 0) {
            return {};
        }
        Bytes bytes = read_to_end(fd);
        (void)close(fd);
        return bytes;
    }

    /* Tells whether a connection waits to be accepted. */
    bool has_connection() const {
        const int flags = fcntl(fd_, F_GETFL);
        (void)fcntl(fd_, F_SETFL, flags | O_NONBLOCK);
        const int fd = ::accept(fd_, nullptr, nullptr);
        (void)fcntl(fd_, F_SETFL, flags);
        if (fd >= 0) {
            (void)close(fd);
        }
        return fd >= 0;
    }

  private:
    std::string path_;
    int fd_ = -1;
    bool ok_ = false;
};

/* A module that takes one request and answers it with given bytes, then closes. */
class AnsweringPeer {
  public:
    AnsweringPeer(const std::string &module_name, Bytes answer)
        : listener_(module_name), answer_(std::move(answer)), thread_([this] { serve(); }) {}
    AnsweringPeer(const AnsweringPeer &) = delete;
    AnsweringPeer &operator=(const AnsweringPeer &) = delete;
    ~AnsweringPeer() { finish(); }

    /* Waits for the exchange to end; returns the request's bytes. */
    const Bytes &request() {
        finish();
        return request_;
    }

  private:
    void serve() {
        const int fd = listener_.accept();
        if (fd < 0) {
            return;
        }
        request_ = read_bytes(fd, 24);
        const uint32_t length = word_at(request_, 20);
        if (request_.size() == 24 && length > 0) {
            request_ = request_ + read_bytes(fd, length);
        }
        (void)write_bytes(fd, answer_);
        (void)close(fd);
    }
    void finish() {
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    TestListener listener_;
    Bytes answer_;
    Bytes request_;
    std::thread thread_; /* last: it uses the others */
};
