#include "zndb_tool/store_apply.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>

#include "cli/wait_notice.h"
#include "frwk_common.h"

namespace {

ApplyOutcome ask(const zndb_apply_request &head, const std::string &page = "") {
    const std::string body(reinterpret_cast<const char *>(&head), sizeof(head));
    ApplyOutcome outcome = {};
    std::string bytes(sizeof(outcome.answer), '\0');
    outcome.request = send_request(E_APPS_MODULE_ZNDB, kZndbApplyMessage, body + page, &bytes);
    std::memcpy(&outcome.answer, bytes.data(), sizeof(outcome.answer));
    return outcome;
}

zndb_apply_request head_of(ApplyAction action, uint32_t number, uint32_t seconds) {
    return {static_cast<uint32_t>(action), number, seconds, 0};
}

/* The bytes of the items from one on, as many as a page has. */
std::string page_from(const std::vector<ZndbItem> &items, size_t first) {
    const size_t end = std::min(items.size(), first + ZNDB_BATCH_MAX);
    std::string page;
    for (size_t i = first; i < end; ++i) {
        const size_t used = page.size();
        page.resize(used + item_size(items[i]));
        write_item(page.data() + used, items[i]);
    }
    return page;
}

/* Another client's stage is there for a moment only, or gives way to the next one after 30 seconds. */
ApplyOutcome begin_stage() {
    constexpr std::chrono::seconds kPatience(31);
    constexpr uint32_t kPauseMs = 20;
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    ApplyOutcome outcome = ask(head_of(ApplyAction::kBegin, 0, 0));
    while (outcome.request.delivered() && outcome.request.result == E_APPS_ERR_BUSY &&
           std::chrono::steady_clock::now() < deadline) {
        frwk_sleep(kPauseMs);
        outcome = ask(head_of(ApplyAction::kBegin, 0, 0));
    }
    return outcome;
}

}  // namespace

ApplyOutcome apply_items(const std::vector<ZndbItem> &items, uint32_t seconds) {
    const WaitNotice notice(E_APPS_MODULE_ZNDB);
    ApplyOutcome outcome = begin_stage();
    const uint32_t number = outcome.answer.number;
    for (size_t first = 0; first < items.size() && outcome.request.done(); first += ZNDB_BATCH_MAX) {
        outcome = ask(head_of(ApplyAction::kAdd, number, 0), page_from(items, first));
    }
    if (outcome.request.done()) {
        return ask(head_of(ApplyAction::kCommit, number, seconds));
    }
    if (number != 0 && outcome.request.delivered()) {
        (void)ask(head_of(ApplyAction::kAbandon, number, 0));
    }
    return outcome;
}

ApplyOutcome control_apply(ApplyAction action, uint32_t seconds) {
    const WaitNotice notice(E_APPS_MODULE_ZNDB);
    return ask(head_of(action, 0, seconds));
}
