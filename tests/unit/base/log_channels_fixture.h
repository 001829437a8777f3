/*
 * The two log channels' outer ends: what is written to standard error, and what syslog(3) is handed.
 */
#pragma once

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
    using SystemMessage = std::pair<int, std::string>; /* priority and text */

    void SetUp() override {
        FaultsTest::SetUp();
        unsetenv("QUOR_DEBUG");
        unsetenv("QUOR_SYSLOG_LEVEL");
        set_channels(0, OS_LOG_WARNING);
        os_mask_set(0);
        doubles::libc::write.stand_in(
            [this](int fd, const void *bytes, size_t size) { return take_write(fd, bytes, size); });
        doubles::libc::syslog.stand_in(
            [this](int priority, const char *text) { take_system(priority, text); });
        doubles::libc::openlog.stand_in([this](const char *name, int options, int facility) {
            opened_ = {name, options, facility};
        });
        os_log_init("testmod", 3);
        const std::lock_guard<std::mutex> lock(mutex_);
        debug_.clear();
        system_.clear();
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

    void take_system(int priority, const char *text) {
        const std::lock_guard<std::mutex> lock(mutex_);
        system_.emplace_back(priority, text);
    }

    mutable std::mutex mutex_;
    std::vector<std::string> debug_;
    std::vector<SystemMessage> system_;
    OpenedLog opened_{};
};
