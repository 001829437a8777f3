/*
 * Replaces standard input and output of a test: by a terminal, or by a pipe with a given text. Each object
 * restores its streams when it ends.
 */
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "support/unique_fd.h"
#include "support/wait_until.h"

/* A descriptor that leads to another file while the object exists. */
class Redirected {
  public:
    Redirected(int fd, int to) : fd_(fd), before_(::fcntl(fd, F_DUPFD_CLOEXEC, 3)) {
        (void)std::fflush(nullptr);
        EXPECT_EQ(fd, ::dup2(to, fd));
    }
    Redirected(const Redirected &) = delete;
    Redirected &operator=(const Redirected &) = delete;
    ~Redirected() {
        if (before_) {
            (void)std::fflush(nullptr);
            (void)::dup2(before_.get(), fd_);
        }
    }

  private:
    const int fd_;
    const UniqueFd before_;
};

/* Standard input is a pipe that holds a text and ends after it. */
class PipedInput {
  public:
    explicit PipedInput(const std::string &text) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(0, ::pipe2(ends, O_CLOEXEC));
        const UniqueFd to(ends[1]);
        const UniqueFd from(ends[0]);
        EXPECT_EQ(static_cast<ssize_t>(text.size()), ::write(to.get(), text.data(), text.size()));
        input_.emplace(STDIN_FILENO, from.get());
    }

  private:
    std::optional<Redirected> input_;
};

class TestTerminal {
  public:
    /* streams: the descriptors that are to lead to the terminal. */
    explicit TestTerminal(const std::vector<int> &streams, winsize size = {24, 80, 0, 0}) {
        int keyboard = -1;
        int device = -1;
        EXPECT_EQ(0, ::openpty(&keyboard, &device, nullptr, nullptr, &size));
        keyboard_.reset(keyboard);
        device_.reset(device);
        for (const int fd : streams) {
            streams_.emplace_back(fd, device);
        }
    }
    TestTerminal(const TestTerminal &) = delete;
    TestTerminal &operator=(const TestTerminal &) = delete;

    void type(const std::string &keys) const {
        EXPECT_EQ(static_cast<ssize_t>(keys.size()), ::write(keyboard_.get(), keys.data(), keys.size()));
    }
    void hang_up() { keyboard_.reset(); }

    termios mode() const {
        termios mode = {};
        EXPECT_EQ(0, ::tcgetattr(device_.get(), &mode));
        return mode;
    }
    bool echoes() const { return (mode().c_lflag & ECHO) != 0; }
    bool takes_lines() const { return (mode().c_lflag & ICANON) != 0; }

    /* Waits until the screen has shown a text. */
    bool shows(const std::string &text) {
        (void)std::fflush(nullptr);
        return wait_until([&] {
            read_screen();
            return screen_.find(text) != std::string::npos;
        });
    }

  private:
    void read_screen() {
        pollfd shown = {keyboard_.get(), POLLIN, 0};
        char bytes[256];
        while (::poll(&shown, 1, 0) == 1 && (shown.revents & POLLIN) != 0) {
            const ssize_t count = ::read(keyboard_.get(), bytes, sizeof(bytes));
            screen_.append(bytes, count > 0 ? static_cast<size_t>(count) : 0);
        }
    }

    UniqueFd keyboard_;
    UniqueFd device_;
    std::string screen_;
    std::list<Redirected> streams_;
};
