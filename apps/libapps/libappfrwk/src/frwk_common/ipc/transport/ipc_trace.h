/*
 * The trace line of each message, and the name of a message for log lines.
 */
#pragma once

#include <cstdint>

namespace ipc {

/* The direction of a message, which selects the arrow in its line. */
enum class Way {
    kAnswered,
    kOneWay
};

/*
 * Traces one message. sender, receiver: module ids, -1 for the calling module. Frequent polls are only
 * written to the debug channel.
 */
void trace(Way way, int32_t sender, int32_t receiver, int32_t msgid);

/* A message's name for log lines; "unknown" if the base library has none; never null. */
const char *message_name(int32_t msgid);

}  // namespace ipc
