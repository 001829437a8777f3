#include "module_identity.h"

#include "os_log.h"

namespace {

/* A mask without any of the levels. */
constexpr uint32_t kNoLevel = 1u << 31;

}  // namespace

void become_module(int32_t id, frwk_exit_handler_t exit_handler) {
    const int wanted = g_debug_log_enable; /* as the environment says */
    if (wanted == 0) {
        os_mask_set(kNoLevel);
    }
    frwk_module_init(id, exit_handler);
    __atomic_store_n(&g_debug_log_enable, wanted, __ATOMIC_RELAXED);
    os_mask_set(0);
}
