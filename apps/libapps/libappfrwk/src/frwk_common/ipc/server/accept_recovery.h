/*
 * Error handling of the accept loop.
 */
#pragma once

#include <cstdint>

#include "support/unique_fd.h"

namespace ipc {

/*
 * A reserve descriptor. Without descriptors, accept fails as long as a connection is pending. Closing the
 * reserve makes it possible to accept this connection and close it.
 */
class SpareFd {
  public:
    SpareFd() { open(); }

    /* Drops the first pending connection; there must be one. Returns false if it could not be accepted. */
    bool shed(int listener);

  private:
    void open();

    UniqueFd fd_;
};

/*
 * Logs how many connections were dropped so far: at the first one, then at most once a second, and when the
 * next connection is served.
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

/* The state of one accept loop. One thread. */
class AcceptRecovery {
  public:
    void after_success() {
        retried_ = false;
        notice_.served();
    }

    /*
     * accept4 allocates a descriptor before it looks for a connection, so without descriptors it fails even
     * if none is pending. So this first waits for a connection and retries; if there is still no descriptor,
     * it drops the connection. Other errors are retried after a pause, since an immediate retry would only
     * use processor time.
     */
    void after_failure(int listener, int error);

  private:
    bool make_way(int listener);
    bool shed(int listener);

    SpareFd spare_;
    DropNotice notice_;
    bool retried_ = false; /* since the last success or drop */
};

}  // namespace ipc
