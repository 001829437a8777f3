/*
 * How the reads and writes of a connection wait for their peer.
 */
#pragma once

#include <cstdint>

/* How a wait ended. */
enum class IpcWaited {
    kReady,   /* look again */
    kTimeout, /* the peer has had its time */
    kFailed   /* errno says why */
};

/* Waits in the place of a read or write that can't go on. */
class IpcWait {
  public:
    /* Waits for events of poll. done: bytes that the read or write has moved so far. */
    virtual IpcWaited wait(int fd, short events, uint32_t done) = 0;

  protected:
    IpcWait() = default;
    ~IpcWait() = default;
    IpcWait(const IpcWait &) = default;
    IpcWait &operator=(const IpcWait &) = default;
};
