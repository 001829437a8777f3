/*
 * The interface through which reads and writes wait for their peer.
 */
#pragma once

#include <cstdint>

namespace ipc {

/* The result of a wait. */
enum class Waited {
    kReady,   /* retry */
    kTimeout, /* the time limit is reached */
    kFailed   /* see errno */
};

/* Waits when a read or write would block. */
class Wait {
  public:
    /* Waits for poll events. done: bytes read or written so far. */
    virtual Waited wait(int fd, short events, uint32_t done) = 0;

  protected:
    Wait() = default;
    ~Wait() = default;
    Wait(const Wait &) = default;
    Wait &operator=(const Wait &) = default;
};

}  // namespace ipc
