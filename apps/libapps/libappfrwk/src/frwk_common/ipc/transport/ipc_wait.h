/*
 * The interface through which reads and writes wait for their peer.
 */
#pragma once

#include <cstdint>

/* The result of a wait. */
enum class IpcWaited {
    kReady,   /* retry */
    kTimeout, /* the time limit is reached */
    kFailed   /* see errno */
};

/* Waits when a read or write would block. */
class IpcWait {
  public:
    /* Waits for poll events. done: bytes read or written so far. */
    virtual IpcWaited wait(int fd, short events, uint32_t done) = 0;

  protected:
    IpcWait() = default;
    ~IpcWait() = default;
    IpcWait(const IpcWait &) = default;
    IpcWait &operator=(const IpcWait &) = default;
};
