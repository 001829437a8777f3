#include "shares.h"

#include "database_steps.h"
#include "environment.h"
#include "os_log.h"
#include "os_time.h"
#include "store.h"

namespace {

constexpr char kShareName[] = "QUOR_ZNDB_SHARE";

}  // namespace

size_t share_limit() {
    const char *text = environment_text(kShareName);
    const auto number = text != nullptr ? whole_number(text, 10, kChangedKeysMax) : std::nullopt;
    if (text != nullptr && !number) {
        warn_ignored(kShareName, text);
    }
    return number ? static_cast<size_t>(*number) : kShare;
}

bool Shares::allows(StoreId id, const Store &store, const SentBy &by, size_t more) {
    const bool allowed = by.sender == kNobody || limit_ == 0 || store.changes_of(by.sender) + more <= limit_;
    if (!allowed) {
        report(id, by);
    }
    return allowed;
}

/* A sender that is refused may go on trying, as fast as it can. */
bool Shares::has_just_said(Sender sender) {
    const uint32_t now = os_uptime_sec();
    for (const Said &said : latest_) {
        if (said.sender == sender && said.at == now) {
            return true;
        }
    }
    latest_[oldest_++ % kRemembered] = {sender, now};
    return false;
}

void Shares::report(StoreId id, const SentBy &by) {
    if (!has_just_said(by.sender)) {
        OS_LOG(OS_LOG_WARNING,
               "process %d refused: it would have more than %zu unsaved changed keys of the %s store",
               by.process, limit_, name_of(id));
    }
}
