/*
 * A sender's wait for its receiver: without a limit, but logged.
 */
#pragma once

#include "apps_message.h"
#include "frwk_common/ipc/transport/ipc_wait.h"
#include "internal/log_name.h"

namespace ipc {

/*
 * Waits for the answer to one message, or for the receiver to read it. Logs the wait after 5, 10, 20 seconds
 * and so on. A signal does not end the wait.
 */
class AnswerWait final : public Wait {
  public:
    /* caller: the function name in the log lines. */
    AnswerWait(LogName caller, uint32_t module, apps_message_id_e_type msgid)
        : caller_(caller), module_(module), msgid_(msgid) {}

    Waited wait(int fd, short events, uint32_t done) override;

  private:
    int ms_until_notice();
    void say_when_due();

    LogName caller_;
    uint32_t module_;
    apps_message_id_e_type msgid_;
    uint32_t due_seconds_ = 5; /* time of the next log line */
    uint64_t began_ms_ = 0;    /* time of the first wait; 0 before it */
};

}  // namespace ipc
