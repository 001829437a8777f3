/*
 * Opens connections, and reads and writes exact numbers of bytes. Does not interpret messages.
 *
 * Reads and writes don't block, whatever the connection's mode: the caller's Wait waits for the peer. A large
 * read or write may block for 100 ms before that.
 */
#pragma once

#include <chrono>
#include <cstdint>

#include "frwk_common/ipc/transport/ipc_address.h"
#include "frwk_common/ipc/transport/ipc_wait.h"
#include "support/unique_fd.h"

namespace ipc {

/*
 * Owns a socket and knows whether calls on it block. Closes it at the end of its scope. One thread at a time.
 */
class Connection {
  public:
    enum class Mode {
        kBlocking,
        kNonBlocking
    };

    /* No connection. */
    Connection() = default;

    /* Takes over a connected socket. mode: as the socket is. */
    Connection(UniqueFd fd, Mode mode) : fd_(std::move(fd)), mode_(mode) {}

    /*
     * Opens a connection to a module's socket. module: 1 to 52. timeout: how long to wait while the
     * receiver's backlog is full. Returns no connection on failure; errno is EAGAIN if the backlog stayed
     * full.
     */
    static Connection open_within(uint32_t module, std::chrono::milliseconds timeout);

    /* The same with a timeout in seconds. */
    static Connection open(uint32_t module, uint32_t timeout) {
        return open_within(module, std::chrono::seconds(timeout));
    }

    /* Accepts a listener's next connection. Returns none, with errno set, on failure. */
    static Connection accept(int listener);

    explicit operator bool() const { return static_cast<bool>(fd_); }
    int fd() const { return fd_.get(); }

    /*
     * Reads at least "least" bytes, and further bytes that have arrived, up to "most" (least or more).
     * Returns the number of bytes read; fewer than least if the peer closed or the read failed; 0 after a
     * time-out, even if bytes were read; negative if the wait failed.
     */
    int32_t receive(void *buf, uint32_t least, uint32_t most, Wait &wait);

    /* The same for bytes that have probably not arrived yet: waits before the first read. */
    int32_t receive_later(void *buf, uint32_t least, uint32_t most, Wait &wait);

    /*
     * The same for exactly size bytes, which may be many. It may block for up to 100 ms before it uses the
     * caller's wait.
     */
    int32_t receive_stream(void *buf, uint32_t size, Wait &wait);

    /*
     * Writes a head and a rest, with one call if the socket has room.
     * rest, rest_size: null and 0 for none.
     * Returns the number of bytes written, including the head; fewer if the peer closed or the wait timed
     * out.
     */
    int32_t send(const void *head, uint32_t head_size, const void *rest, uint32_t rest_size, Wait &wait);

  private:
    enum class Reading {
        kLooking,  /* non-blocking; the caller's wait does the waiting */
        kStreaming /* may block for a moment if much is left */
    };

    bool reach(const Address &address, std::chrono::milliseconds timeout);
    bool try_to_reach(const Address &address);
    bool reach_when_free(const Address &address, std::chrono::milliseconds timeout);
    bool make_blocking();
    bool may_block(uint32_t left, int option);
    int32_t read_at_least(void *buf, uint32_t least, uint32_t most, Reading reading, Wait &wait);

    UniqueFd fd_;
    Mode mode_ = Mode::kBlocking;
};

}  // namespace ipc
