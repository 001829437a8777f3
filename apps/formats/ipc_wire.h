/*
 * The wire format of a module's socket: a request header and its body, and the answer to a synchronous
 * request. Words are in host byte order, since both ends are on one device. docs/ipc-protocol.md describes
 * the protocol.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/* The header of a request. */
struct frwk_ipc_header {
    uint32_t src;      /* id of the sending module */
    int32_t msgid;     /* message identifier */
    uint32_t async;    /* 0: the sender waits for an answer */
    uint32_t timeout;  /* seconds that the receiver may wait for its handler to be registered */
    uint32_t rsp_size; /* size of the sender's answer buffer in bytes */
    int32_t data_len;  /* bytes of the body; 0 or less for none */
};

/* The header of an answer. */
struct frwk_ipc_rsp_header {
    int32_t result;  /* what the handler returned */
    int32_t rsp_len; /* bytes of data; the receiver repeats rsp_size */
};

static_assert(sizeof(frwk_ipc_header) == 24);
static_assert(offsetof(frwk_ipc_header, src) == 0);
static_assert(offsetof(frwk_ipc_header, msgid) == 4);
static_assert(offsetof(frwk_ipc_header, async) == 8);
static_assert(offsetof(frwk_ipc_header, timeout) == 12);
static_assert(offsetof(frwk_ipc_header, rsp_size) == 16);
static_assert(offsetof(frwk_ipc_header, data_len) == 20);
static_assert(sizeof(frwk_ipc_rsp_header) == 8);
static_assert(offsetof(frwk_ipc_rsp_header, result) == 0);
static_assert(offsetof(frwk_ipc_rsp_header, rsp_len) == 4);

/* Requests and answers up to this size in bytes, including the header, need no heap. */
inline constexpr uint32_t kIpcFixedBuffer = 1024;

/* How long the receiver waits for each piece of a request. */
inline constexpr int32_t kIpcReceiveLimitSeconds = 3;

/* The time limit of notifications and status queries. */
inline constexpr uint32_t kIpcNotifyLimitSeconds = 3;

/* The status word of a module whose handler is registered, the answer to E_APPS_MSG_SYS_STATUS. */
inline constexpr uint32_t kIpcStatusServing = 1;
