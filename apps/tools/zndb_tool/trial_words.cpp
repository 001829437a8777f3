#include "zndb_tool/trial_words.h"

namespace {

constexpr char kSomethingWaits[] =
    "; another apply or restore awaits confirmation: zndb_tool confirm or zndb_tool revert first";
constexpr char kIsBeingReverted[] =
    "; the last apply or restore is still being reverted, see the log; try again later";
constexpr char kIsBeingStaged[] = "; another program is sending changes; try again";
constexpr char kTooOld[] = "; the database is older than this tool";

std::string counted(size_t count, const char *what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string unless_confirmed(uint32_t seconds) {
    return "; reverted in " + std::to_string(seconds) + " s unless confirmed: zndb_tool confirm";
}

ApplyState state_of(const ApplyOutcome &outcome) {
    return static_cast<ApplyState>(outcome.answer.state);
}

std::string busy_hint(ApplyState state) {
    switch (state) {
        case ApplyState::kReverting:
            return kIsBeingReverted;
        case ApplyState::kWaiting:
        case ApplyState::kRestoring:
            return kSomethingWaits;
        default:
            return kIsBeingStaged;
    }
}

/* Why there is nothing to confirm. */
std::string end_hint(ApplyEnd end) {
    switch (end) {
        case ApplyEnd::kConfirmed:
            return "; the last apply or restore was confirmed before";
        case ApplyEnd::kTimedOut:
            return "; too late: nobody confirmed in time, and everything was reverted";
        case ApplyEnd::kReverted:
            return "; the last apply or restore was reverted on request";
        case ApplyEnd::kRevertedAtStart:
            return "; the database was restarted before the confirmation, and has reverted everything";
        default:
            return "; nothing awaits confirmation";
    }
}

}  // namespace

std::string trial_notice(size_t settings, uint32_t seconds) {
    return counted(settings, "setting") + " applied" + unless_confirmed(seconds);
}

std::string restore_notice(uint32_t seconds) {
    return "configuration restored" + unless_confirmed(seconds);
}

std::string apply_hint(const ApplyOutcome &outcome, const std::vector<ZndbItem> &items) {
    const uint32_t item = outcome.answer.batch.item;
    switch (outcome.request.result) {
        case E_APPS_ERR_BUSY:
            return busy_hint(state_of(outcome));
        case E_APPS_ERR_UNSUPPORTED:
            return kTooOld;
        case E_APPS_ERR_ZNDB_AVL:
            return (item < items.size() ? "; '" + std::string(items[item].key) + "' has"
                                        : "; a setting has") +
                   " changed meanwhile; nothing was applied";
        default:
            return "";
    }
}

std::string confirm_hint(const ApplyOutcome &outcome) {
    if (outcome.request.result == E_APPS_ERR_UNSUPPORTED) {
        return kTooOld;
    }
    if (outcome.request.result == E_APPS_ERR_ZNDB_NO_FOUND) {
        return state_of(outcome) == ApplyState::kReverting ? kIsBeingReverted
               : state_of(outcome) == ApplyState::kRestoring
                   ? "; the restore has not ended yet"
                   : end_hint(static_cast<ApplyEnd>(outcome.answer.last_end));
    }
    return state_of(outcome) == ApplyState::kWaiting
               ? "; it is not saved, and is reverted in " + std::to_string(outcome.answer.seconds) + " s"
               : "";
}

std::string keep_hint(const ApplyOutcome &outcome) {
    return outcome.request.result == E_APPS_ERR_BUSY          ? busy_hint(state_of(outcome))
           : outcome.request.result == E_APPS_ERR_UNSUPPORTED ? kTooOld
                                                              : "";
}
