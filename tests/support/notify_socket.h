/*
 * A fake service manager: the socket to which a service reports its state.
 */
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <string>

#include "support/unique_fd.h"
#include "support/wait_until.h"

class NotifySocket {
  public:
    /* name: a path, or an abstract name that begins with '@'. */
    explicit NotifySocket(const std::string &name) : fd_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (name[0] == '@') {
            address.sun_path[0] = '\0';
        } else {
            ::unlink(name.c_str());
        }
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        EXPECT_EQ(0, ::bind(fd_.get(), reinterpret_cast<const sockaddr *>(&address), size));
    }

    /* The next report; "" if none comes within the limit. */
    std::string next(std::chrono::milliseconds limit = kPatience) const {
        pollfd waiting = {fd_.get(), POLLIN, 0};
        char text[256] = "";
        if (::poll(&waiting, 1, static_cast<int>(limit.count())) != 1) {
            return "";
        }
        const ssize_t size = ::recv(fd_.get(), text, sizeof(text), 0);
        return size > 0 ? std::string(text, static_cast<size_t>(size)) : "";
    }

    /* Discards the reports that are there. */
    void drain() const {
        while (!next(std::chrono::milliseconds(0)).empty()) {
        }
    }

  private:
    const UniqueFd fd_;
};
