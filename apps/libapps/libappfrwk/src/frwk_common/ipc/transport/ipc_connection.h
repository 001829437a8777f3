/*
 * A connection between two modules: opening one, and exact-length reads and writes on it. Knows bytes,
 * nothing of messages.
 *
 * No read or write blocks, whatever the connection's mode: where the peer has to be waited for, the caller's
 * Wait does it. Where much is read or written at once, it may block for 100 ms before that.
 */
#pragma once

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
     * Opens a connection to a module's socket. module: 1 to 52. timeout: seconds to wait while the receiver's
     * queue is full. Returns no connection when that fails.
     */
    static Connection open(uint32_t module, uint32_t timeout);

    /* Takes the first connection of a listener's queue; none, with errno set, when that fails. */
    static Connection accept(int listener);

    explicit operator bool() const { return static_cast<bool>(fd_); }
    int fd() const { return fd_.get(); }

    /*
     * Reads at least least bytes; what else has arrived is taken too, up to most bytes (least or more).
     * Returns the bytes read; fewer than least when the peer closed or the read failed; 0 after a time-out,
     * whatever was read before; negative when the wait failed.
     */
    int32_t receive(void *buf, uint32_t least, uint32_t most, Wait &wait);

    /* The same for bytes that are hardly there yet: waits before it looks. */
    int32_t receive_later(void *buf, uint32_t least, uint32_t most, Wait &wait);

    /*
     * The same for exactly size bytes, which may be many. It may block up to 100 ms before it turns to the
     * caller's wait.
     */
    int32_t receive_stream(void *buf, uint32_t size, Wait &wait);

    /*
     * Writes a head and what follows it, both in one call as long as there is room.
     * rest, rest_size: 0 for nothing after the head.
     * Returns the bytes written, those of the head included; fewer when the peer is gone or has had its time.
     */
    int32_t send(const void *head, uint32_t head_size, const void *rest, uint32_t rest_size, Wait &wait);

  private:
    enum class Reading {
        kLooking,  /* takes what is there; the caller's wait does the rest */
        kStreaming /* may block for a moment where much is to come */
    };

    bool reach(const Address &address, uint32_t timeout);
    bool try_to_reach(const Address &address);
    bool reach_when_free(const Address &address, uint32_t timeout);
    bool make_blocking();
    bool may_block(uint32_t left, int option);
    int32_t read_at_least(void *buf, uint32_t least, uint32_t most, Reading reading, Wait &wait);

    UniqueFd fd_;
    Mode mode_ = Mode::kBlocking;
};

}  // namespace ipc
