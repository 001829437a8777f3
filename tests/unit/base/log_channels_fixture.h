/*
 * The outputs of the two log channels: the text written to standard error, and the lines sent to the system
 * log's daemon.
 */
#pragma once

#include <syslog.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "os_log.h"

class LogChannelsTest : public FaultsTest {
  protected:
    struct OpenedLog {
        std::string name;
        int options;
        int facility;
    };
    using SystemMessage = std::pair<int, std::string>; /* level and text */

    void SetUp() override {
        FaultsTest::SetUp();
        unsetenv("QUOR_DEBUG");
        unsetenv("QUOR_SYSLOG_LEVEL");
        set_channels(0, OS_LOG_WARNING);
        os_mask_set(0);
        doubles::libc::write.stand_in(
            [this](int fd, const void *bytes, size_t size) { return take_write(fd, bytes, size); });
        doubles::libc::connect.stand_in([](int, const sockaddr *, socklen_t) { return 0; });
        doubles::libc::sendmsg.stand_in(
            [this](int, const msghdr *message, int) { return take_system(*message); });
        doubles::libc::openlog.stand_in([this](const char *name, int options, int facility) {
            opened_ = {name, options, facility};
        });
        os_trace_print(OS_LOG_WARNING, "f", "f", 1, "what other tests may have lost is told before this");
        os_log_init("testmod", 3);
        const std::lock_guard<std::mutex> lock(mutex_);
        debug_.clear();
        system_.clear();
        heads_.clear();
    }

    void TearDown() override {
        os_log_init("testmod", 3);
        set_channels(0, OS_LOG_WARNING);
        os_mask_set(0);
        FaultsTest::TearDown();
    }

    static void set_channels(int debug, int system_level) {
        __atomic_store_n(&g_debug_log_enable, debug, __ATOMIC_RELAXED);
        __atomic_store_n(&g_syslog_level, system_level, __ATOMIC_RELAXED);
    }

    std::vector<std::string> debug_lines() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return debug_;
    }
    std::vector<SystemMessage> system_messages() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return system_;
    }

    /* What came before each of these texts: the priority, the time and the sender. */
    std::vector<std::string> system_heads() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return heads_;
    }

    /* What openlog(3) was called with last; only for tests that name the process from one thread. */
    const OpenedLog &opened_log() const { return opened_; }

  private:
    ssize_t take_write(int fd, const void *bytes, size_t size) {
        if (fd != STDERR_FILENO) {
            return doubles::libc::write.real(fd, bytes, size);
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        debug_.emplace_back(static_cast<const char *>(bytes), size);
        return static_cast<ssize_t>(size);
    }

    ssize_t take_system(const msghdr &message) {
        const auto part = [&message](size_t i) {
            return std::string(static_cast<const char *>(message.msg_iov[i].iov_base),
                               message.msg_iov[i].iov_len);
        };
        const std::lock_guard<std::mutex> lock(mutex_);
        heads_.push_back(part(0));
        system_.emplace_back(LOG_PRI(std::stoi(part(0).substr(1))), part(1));
        return static_cast<ssize_t>(part(0).size() + part(1).size());
    }

    mutable std::mutex mutex_;
    std::vector<std::string> debug_;
    std::vector<SystemMessage> system_;
    std::vector<std::string> heads_;
    OpenedLog opened_{};
};
