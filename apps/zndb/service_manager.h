/*
 * What the process reports to the service manager that started it: a datagram such as "READY=1" to the socket
 * in NOTIFY_SOCKET, as sd_notify(3) describes. Without that variable nothing is sent.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class ServiceManager {
  public:
    /* Reads NOTIFY_SOCKET, WATCHDOG_USEC and WATCHDOG_PID. Logs those that are malformed. */
    ServiceManager();

    /* Whether somebody waits for reports. */
    bool listens() const { return !address_.empty(); }

    /* How often to report that the service works: half of the manager's limit. 0: never. */
    uint32_t watchdog_pause_ms() const { return watchdog_pause_ms_; }

    /* Sends a state, and logs a failure. Any thread; doesn't wait. */
    void report(std::string_view state) const;

  private:
    std::string address_; /* as the kernel takes it: the name of an abstract socket begins with a NUL */
    uint32_t watchdog_pause_ms_ = 0;
};
