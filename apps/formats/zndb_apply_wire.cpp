#include "formats/zndb_apply_wire.h"

#include <cstring>

namespace {

bool takes_number(ApplyAction action) {
    return action == ApplyAction::kAdd || action == ApplyAction::kCommit || action == ApplyAction::kAbandon;
}

bool takes_seconds(ApplyAction action) {
    return action == ApplyAction::kCommit || action == ApplyAction::kKeep || action == ApplyAction::kRestored;
}

bool is_well_formed(const zndb_apply_request &head) {
    if (head.action > static_cast<uint32_t>(ApplyAction::kUndo) || head.unused != 0) {
        return false;
    }
    const auto action = static_cast<ApplyAction>(head.action);
    return (head.number == 0 || takes_number(action)) && (head.seconds == 0 || takes_seconds(action)) &&
           head.seconds <= kConfirmSecondsMax;
}

}  // namespace

bool read_apply_body(const void *body, int32_t size, ApplyRequest &request) {
    zndb_apply_request head = {};
    if (body == nullptr || size < static_cast<int32_t>(sizeof(head))) {
        return false;
    }
    std::memcpy(&head, body, sizeof(head));
    if (!is_well_formed(head)) {
        return false;
    }

    const auto page_size = static_cast<int32_t>(size - static_cast<int32_t>(sizeof(head)));
    request = {static_cast<ApplyAction>(head.action), head.number, head.seconds, nullptr, 0, 0};
    if (request.action != ApplyAction::kAdd) {
        return page_size == 0;
    }
    request.page = static_cast<const char *>(body) + sizeof(head);
    request.page_size = static_cast<size_t>(page_size);
    ZndbBatchItems items;
    const bool sound = read_batch_body(request.page, page_size, items);
    request.page_count = items.size();
    return sound;
}
