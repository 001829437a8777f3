/*
 * The steps of sending one message to several modules.
 */
#pragma once

#include <chrono>
#include <cstdint>

#include "apps_message.h"

namespace ipc {

/* A message without an answer. data: len bytes, valid until the message is sent; null for none. */
struct Notice {
    apps_message_id_e_type msgid;
    const void *data;
    uint32_t len;
};

/* Checks the arguments and traces the message. Returns false, and logs, if it can't be sent. */
bool may_send(const Notice &notice, uint32_t module);

/*
 * Sends the message to another module. timeout: how long to wait while the module's backlog is full.
 * Returns false, without a log line, if the backlog stayed full. Other failures are logged and final.
 */
bool send_if_room(const Notice &notice, uint32_t module, std::chrono::milliseconds timeout);

/* Logs that a module whose backlog stayed full doesn't get the message. */
void give_up(uint32_t module);

}  // namespace ipc
