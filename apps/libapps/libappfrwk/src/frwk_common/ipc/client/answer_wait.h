/*
 * How a sender waits for its receiver: without a limit, and not in silence.
 */
#pragma once

#include "apps_message.h"
#include "frwk_common/ipc/transport/ipc_wait.h"

/*
 * Waits for the answer to one message, or for the receiver to read it. It says so in the log when the
 * receiver has kept it waiting for 5 seconds, and then each time that this has doubled. A signal changes
 * nothing.
 */
class AnswerWait final : public IpcWait {
  public:
    /* caller: the name under which it logs. */
    AnswerWait(const char *caller, uint32_t module, apps_message_id_e_type msgid)
        : caller_(caller), module_(module), msgid_(msgid) {}

    IpcWaited wait(int fd, short events, uint32_t done) override;

  private:
    int ms_until_notice();
    void say_when_due();

    const char *caller_;
    uint32_t module_;
    apps_message_id_e_type msgid_;
    uint32_t due_seconds_ = 5; /* when the next line is due */
    uint64_t began_ms_ = 0;    /* at the first wait; 0 before it */
};
