/*
 * The lock under which subscription files are changed: one holder on the whole device.
 */
#pragma once

#include <cstdint>

/*
 * Waits without limit until this thread, and no other thread or process, holds the lock.
 * Returns 1, or 0 when it can't be had. Not recursive.
 */
int32_t frwk_ipc_subscribe_lock();

/* Lets go of the lock, on the thread that holds it. */
void frwk_ipc_subscribe_unlock();

/* Holds the lock for a scope, or nothing when it can't be had. */
class SubscriptionLock {
  public:
    SubscriptionLock() : held_(frwk_ipc_subscribe_lock() != 0) {}
    SubscriptionLock(const SubscriptionLock &) = delete;
    SubscriptionLock &operator=(const SubscriptionLock &) = delete;
    ~SubscriptionLock() {
        if (held_) {
            frwk_ipc_subscribe_unlock();
        }
    }

    explicit operator bool() const { return held_; }

  private:
    const bool held_;
};
