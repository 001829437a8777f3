/*
 * The line that traces each message, and the name of a message in any line.
 */
#pragma once

#include <cstdint>

/* How a message is on its way: decides the arrow in its line. */
enum class IpcTrace {
    kAnswered,
    kOneWay
};

/*
 * Traces one message. sender, receiver: module ids as the table's accessors take them, -1 for the calling
 * module. Polls that would flood the system log go to the debug channel only.
 */
void frwk_ipc_trace(IpcTrace way, int32_t sender, int32_t receiver, int32_t msgid);

/* A message's name as log lines show it, "unknown" where the base library has none; never null. */
const char *frwk_ipc_message_name(int32_t msgid);
