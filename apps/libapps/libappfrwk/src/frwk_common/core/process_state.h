/*
 * The process-wide words that threads share, and the one function that resets them.
 *
 * Each word is written and read for itself, without further order between them.
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>

#include "frwk_common.h"

extern std::atomic<int32_t> g_s_module_id;                /* the calling module */
extern std::atomic<frwk_exit_handler_t> g_s_exit_handler; /* null: end without a call */
extern std::atomic<int> g_s_ipcs_fd;                      /* listening socket, -1 for none */
extern std::atomic<unsigned long> g_s_ipc_thread;         /* service thread, 0 for none */
extern std::atomic<frwk_ipc_handler_t> g_s_ipc_handler;   /* null until registered */
extern std::atomic<uint32_t> g_s_module_status;           /* status word */
extern std::atomic<std::FILE *> g_s_sub_lock_file; /* stream that holds the subscription lock, or null */
extern std::atomic<int32_t> g_s_uptime_offset;     /* seconds, -1 until read from the settings */

/* Limits, each 0 for none; see process_limits.h. */
extern std::atomic<uint32_t> g_s_exchange_limit_s;   /* seconds of one exchange */
extern std::atomic<uint32_t> g_s_own_messages_limit; /* threads for messages of the module to itself */
extern std::atomic<uint32_t> g_s_itc_waiting_limit;  /* messages that wait in one queue */

/* Sets the state of a module that has just started. */
void reset_process_state(int32_t id, frwk_exit_handler_t exit_handler);
