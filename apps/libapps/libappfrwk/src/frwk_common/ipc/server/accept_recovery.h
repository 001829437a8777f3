/*
 * What the accept loop does when it can't take a connection.
 */
#pragma once

#include <cstdint>

#include "support/unique_fd.h"

/*
 * A descriptor kept in reserve. Out of descriptors, accept fails for ever while a connection stays in the
 * queue: giving up the reserve makes room to take that connection and drop it.
 */
class SpareFd {
  public:
    SpareFd() { open(); }

    /* Drops the first connection of a queue that is not empty. Returns false when it could not be taken. */
    bool shed(int listener);

  private:
    void open();

    UniqueFd fd_;
};

/*
 * Says how many connections were dropped so far: with the first one, with later ones at most once a second,
 * and with the next that is served.
 */
class DropNotice {
  public:
    void dropped();
    void served() {
        if (unsaid_) {
            say();
        }
    }

  private:
    void say();

    uint32_t dropped_ = 0;
    bool unsaid_ = false;
    uint64_t said_ms_ = 0;
};

/* For one loop, on its thread. */
class AcceptRecovery {
  public:
    void after_success() {
        retried_ = false;
        notice_.served();
    }

    /*
     * The kernel looks for a descriptor before it looks into the queue, so without one an empty queue fails
     * too: first a peer is waited for and accepted anew, and only when there is still no descriptor for it is
     * it dropped. What can't be helped is tried again after a pause, since doing so at once would only burn
     * the processor.
     */
    void after_failure(int listener, int error);

  private:
    bool make_way(int listener);
    bool shed(int listener);

    SpareFd spare_;
    DropNotice notice_;
    bool retried_ = false; /* since the last success or drop */
};
