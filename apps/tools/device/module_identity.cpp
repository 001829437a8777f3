#include "device/module_identity.h"

#include "os_log.h"

namespace {

/* A flag that the framework ignores. */
constexpr uint32_t kAnyFlag = 0x0800;

}  // namespace

/* The debug channel of a module without flags is on from its start, so the tool has a flag until it has
 * started. */
void become_module(int32_t id, frwk_exit_handler_t exit_handler) {
    const int wanted = g_debug_log_enable; /* from the environment */
    const bool flagless = frwk_module_feature(id, ~0u) == 0;
    if (flagless && wanted == 0) {
        frwk_module_set(id, kAnyFlag);
    }
    frwk_module_init(id, exit_handler);
    __atomic_store_n(&g_debug_log_enable, wanted, __ATOMIC_RELAXED);
    if (flagless) {
        frwk_module_unset(id, kAnyFlag);
    }
}
