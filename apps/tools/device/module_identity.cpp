#include "device/module_identity.h"

#include "os_log.h"

namespace {

/* A flag that the framework doesn't look at. */
constexpr uint32_t kAnyFlag = 0x0800;

}  // namespace

/* A module without flags talks on the debug channel as soon as it starts, so this one has a flag until it has
 * started.
 */
void become_module(int32_t id, frwk_exit_handler_t exit_handler) {
    const int wanted = g_debug_log_enable; /* as the environment says */
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
