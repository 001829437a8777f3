/*
 * What the library gives to the device's own services beside its public interface. It is exported with the
 * version QUORAPPS_PRIVATE and has no public header: library and services come from one build.
 */
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

/* A process, as the kernel knows it. */
struct frwk_ipc_peer_t {
    int32_t process; /* its id; 0 if it is in another process namespace */
    uint32_t user;   /* its effective user when it connected */
};

/*
 * Asks the kernel who has sent the message that the calling handler answers. Only the sender's id in the
 * message is the sender's word.
 *
 * peer: receives the process; unchanged on failure.
 *
 * Returns 1; 0 for a message of the module to itself, or if the kernel doesn't know. Call it in the handler,
 * on the handler's thread.
 */
extern "C" int32_t frwk_ipc_peer(frwk_ipc_peer_t *peer);

#pragma GCC visibility pop
