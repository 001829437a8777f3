/*
 * Who may change the factory overlay. The kernel's word on the sender counts, not the sender's.
 */
#pragma once

#include <cstdint>

#include "apps_message.h"
#include "internal/service_calls.h"
#include "module_locks.h"

struct FactoryAccess {
    ModuleSet modules = 0; /* processes that hold the instance lock of one of them */
    bool tools = true;     /* root's processes that hold no module's lock and speak as a tool */
};

/*
 * The access by the service's environment: QUOR_ZNDB_FACTORY_WRITERS, names of modules with commas between
 * them, where "tool" stands for root's tools. Logs the names that it can't use. Without the variable these
 * are the modules with the flag ADMIN, and the tools.
 */
FactoryAccess factory_access();

/* Whether a module only speaks for itself: it serves nobody, so it has no instance lock. */
bool is_tool(uint32_t module);

/*
 * Whether a message may change the overlay; logs a refusal with the process.
 *
 * peer: the sender; null if the kernel doesn't know it. src: the module that the message names as its sender.
 */
bool may_write_factory(const FactoryAccess &access, const frwk_ipc_peer_t *peer, uint32_t src,
                       apps_message_id_e_type msgid);
