/*
 * The lock for changing subscription files: one holder on the device.
 */
#pragma once

namespace events {

/*
 * Takes the lock; waits without limit. Not recursive.
 * Returns false, logged, if the lock can't be taken.
 */
bool lock_subscriptions();

/* Releases the lock. Call it on the thread that holds the lock. */
void unlock_subscriptions();

/* Holds the lock for a scope; false if it can't be taken. */
class SubscriptionLock {
  public:
    SubscriptionLock() : held_(lock_subscriptions()) {}
    SubscriptionLock(const SubscriptionLock &) = delete;
    SubscriptionLock &operator=(const SubscriptionLock &) = delete;
    ~SubscriptionLock() {
        if (held_) {
            unlock_subscriptions();
        }
    }

    explicit operator bool() const { return held_; }

  private:
    const bool held_;
};

}  // namespace events
