/*
 * Process-wide variables that threads share, and the function that resets them.
 *
 * Each variable is atomic; there is no ordering between them.
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>

#include "frwk_common.h"

extern std::atomic<int32_t> g_s_module_id;                /* the calling module */
extern std::atomic<frwk_exit_handler_t> g_s_exit_handler; /* null: none */
extern std::atomic<int> g_s_ipcs_fd;                      /* listening socket, -1 for none */
extern std::atomic<unsigned long> g_s_ipc_thread;         /* service thread, 0 for none */
extern std::atomic<frwk_ipc_handler_t> g_s_ipc_handler;   /* null until registered */
extern std::atomic<uint32_t> g_s_module_status;           /* status word */
extern std::atomic<std::FILE *> g_s_sub_lock_file;        /* stream with the subscription lock, or null */
extern std::atomic<int32_t> g_s_uptime_offset;            /* seconds, -1 until read from the settings */

/* Limits; 0 means no limit. See process_limits.h. */
extern std::atomic<uint32_t> g_s_exchange_limit_s; /* maximum seconds of one exchange */
extern std::atomic<uint32_t>
    g_s_own_messages_limit; /* maximum number of threads for messages of the module to itself */
extern std::atomic<uint32_t> g_s_itc_waiting_limit; /* maximum number of messages waiting in one queue */

/* Sets the state of a module that has just started. */
void reset_process_state(int32_t id, frwk_exit_handler_t exit_handler);
