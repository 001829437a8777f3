#include "frwk_common/core/process_state.h"

namespace {

constexpr uint32_t kExchangeLimitSeconds = 0;
constexpr uint32_t kOwnMessagesLimit = 4096;
constexpr uint32_t kItcWaitingLimit = 1000 * 1000;

}  // namespace

std::atomic<int32_t> g_s_module_id{E_APPS_MODULE_TOOL};
std::atomic<frwk_exit_handler_t> g_s_exit_handler{nullptr};
std::atomic<int> g_s_ipcs_fd{-1};
std::atomic<unsigned long> g_s_ipc_thread{0};
std::atomic<frwk_ipc_handler_t> g_s_ipc_handler{nullptr};
std::atomic<uint32_t> g_s_module_status{0};
std::atomic<std::FILE *> g_s_sub_lock_file{nullptr};
std::atomic<int32_t> g_s_uptime_offset{-1};
std::atomic<uint32_t> g_s_exchange_limit_s{kExchangeLimitSeconds};
std::atomic<uint32_t> g_s_own_messages_limit{kOwnMessagesLimit};
std::atomic<uint32_t> g_s_itc_waiting_limit{kItcWaitingLimit};

void reset_process_state(int32_t id, frwk_exit_handler_t exit_handler) {
    g_s_ipcs_fd = -1;
    g_s_ipc_thread = 0;
    g_s_ipc_handler = nullptr;
    g_s_module_status = 0;
    g_s_sub_lock_file = nullptr;
    g_s_uptime_offset = -1;
    g_s_exchange_limit_s = kExchangeLimitSeconds;
    g_s_own_messages_limit = kOwnMessagesLimit;
    g_s_itc_waiting_limit = kItcWaitingLimit;
    g_s_module_id = id;
    g_s_exit_handler = exit_handler;
}
