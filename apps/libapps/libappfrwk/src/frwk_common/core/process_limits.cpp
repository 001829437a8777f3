#include "frwk_common/core/process_limits.h"

#include <cstdlib>
#include <cstring>

#include "frwk_common/core/process_state.h"
#include "internal/decimal.h"
#include "internal/frwk_log.h"

namespace {

constexpr size_t kDigitsMax = 9;

struct Limit {
    const char *variable;
    std::atomic<uint32_t> *value;
};

constexpr Limit kLimits[] = {
    {"QUOR_IPC_EXCHANGE_LIMIT", &g_s_exchange_limit_s},
    {"QUOR_IPC_OWN_MESSAGES_LIMIT", &g_s_own_messages_limit},
    {"QUOR_ITC_WAITING_LIMIT", &g_s_itc_waiting_limit},
};

bool is_limit(const char *text) {
    const size_t digits = std::strspn(text, "0123456789");
    return digits > 0 && digits <= kDigitsMax && text[digits] == '\0';
}

}  // namespace

void read_process_limits() {
    for (const Limit &limit : kLimits) {
        const char *text = std::getenv(limit.variable);  // NOLINT(concurrency-mt-unsafe): before the threads
        if (text == nullptr) {
            continue;
        }
        if (is_limit(text)) {
            *limit.value = static_cast<uint32_t>(decimal_number(text));
        } else {
            FRWK_WARN(__func__, "%s is not a number of up to 9 digits: the limit stays %u", limit.variable,
                      limit.value->load());
        }
    }
}
