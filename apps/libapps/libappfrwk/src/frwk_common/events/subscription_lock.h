/*
 * The lock for changing subscription files: one holder on the device.
 */
#pragma once

#include <cstdint>

/*
 * Takes the lock; waits without limit. Not recursive.
 * Returns 1, or 0 if the lock can't be taken.
 */
int32_t frwk_ipc_subscribe_lock();

/* Releases the lock. Call it on the thread that holds the lock. */
void frwk_ipc_subscribe_unlock();

/* Holds the lock for a scope; false if it can't be taken. */
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
