/*
 * Dispatches a message: system messages are answered here, all others by the module's handler, after a wait
 * until it is registered.
 */
#pragma once

#include <cstdint>

#include "apps_err.h"
#include "apps_message.h"

namespace ipc {

/* Answers one message; arguments and result are those of a frwk_ipc_handler_t. Any thread. */
apps_err_e_type dispatch(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                         void *rsp, uint32_t rsp_size, uint32_t timeout);

/*
 * Entry of the thread that handles one asynchronous message of the module to itself.
 * record: a block of os_mem_malloc with a request in wire format; freed here.
 */
void *dispatch_own_message(void *record);

}  // namespace ipc
