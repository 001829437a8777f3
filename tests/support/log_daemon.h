/*
 * A fake daemon of the system log, which reads lines when the test calls it.
 */
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>
#include <vector>

inline constexpr sockaddr_un kLogAddress = {AF_UNIX, "/dev/log"};

class LogDaemon {
  public:
    /* type: SOCK_DGRAM or SOCK_STREAM. */
    explicit LogDaemon(int type = SOCK_DGRAM) : fd_(socket(AF_UNIX, type | SOCK_CLOEXEC, 0)) {
        unlink(kLogAddress.sun_path); /* of a daemon that was stopped, as real ones do */
        EXPECT_EQ(0, bind(fd_, reinterpret_cast<const sockaddr *>(&kLogAddress), sizeof(kLogAddress)));
        if (type == SOCK_STREAM) {
            EXPECT_EQ(0, listen(fd_, 8));
        }
    }
    ~LogDaemon() {
        close(connection_);
        close(fd_);
        unlink(kLogAddress.sun_path);
    }
    LogDaemon(const LogDaemon &) = delete;
    LogDaemon &operator=(const LogDaemon &) = delete;

    /* Reads the available lines. */
    std::vector<std::string> lines() const {
        std::vector<std::string> taken;
        std::string line(65536, '\0');
        for (ssize_t got = 0; (got = recv(fd_, line.data(), line.size(), MSG_DONTWAIT)) > 0;) {
            taken.push_back(line.substr(0, static_cast<size_t>(got)));
        }
        return taken;
    }

    /* For a stream socket: accepts the next connection. */
    void take_next_connection() {
        close(connection_);
        connection_ = accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC);
    }

    /* Reads from the connection; NULs become line ends. */
    std::string stream() {
        if (connection_ < 0) {
            take_next_connection();
        }
        std::string text(65536, '\0');
        const ssize_t got = recv(connection_, text.data(), text.size(), MSG_DONTWAIT);
        text.resize(got > 0 ? static_cast<size_t>(got) : 0);
        for (char &each : text) {
            each = each == '\0' ? '\n' : each;
        }
        return text;
    }

  private:
    const int fd_;
    int connection_ = -1;
};
