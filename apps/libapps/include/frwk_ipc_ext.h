/*
 * More of a module's message service. frwk_common.h has the ordinary calls.
 */
#ifndef QUOR_FRWK_IPC_EXT_H
#define QUOR_FRWK_IPC_EXT_H

#include <stdint.h>

#include "apps_message.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Has the service handle requests with this message apart: each on a thread of its own, while the service
 * goes on with the requests of others. For requests that wait long, such as for a disk.
 *
 * Only synchronous requests without a body are handled apart, and at most 16 at once. All others are handled
 * one after another, as ever, so that the asynchronous messages of a sender keep their order. The handler
 * must expect to be called by several threads at once. The end of the module by a system message waits for
 * the requests that are handled apart.
 *
 * msgid: of up to 8 different messages; system messages can't be handled apart. Repeating a message does
 * nothing.
 *
 * Returns 0, or E_APPS_ERR_PARAM for a system message or a ninth message. Any thread may call; the effect is
 * on the requests that come from then on.
 */
int32_t frwk_ipc_handle_apart(apps_message_id_e_type msgid);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
