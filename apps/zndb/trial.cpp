#include "trial.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include "file_steps.h"
#include "formats/device_paths.h"
#include "os_log.h"

namespace {

using std::chrono::ceil;
using std::chrono::seconds;

apps_err_e_type refuse(apps_err_e_type result, const char *reason) {
    OS_LOG(OS_LOG_WARNING, "apply control refused: %s", reason);
    return result;
}

ZndbItemSpan span_of(const std::vector<ZndbItem> &items) {
    return {items.data(), items.size()};
}

ZndbItem expectation_of(const KeyChange &change) {
    return change.before ? ZndbItem{ItemKind::kExpect, change.store, change.key, *change.before}
                         : ZndbItem{ItemKind::kExpectMissing, change.store, change.key, {}};
}

/* Logs a failure with the mark. Returns the error. */
int report(const char *what, int error) {
    if (error != 0) {
        errno = error;
        OS_LOG_ERRNO((std::string(what) + " " + paths::kPutBackMark).c_str());
    }
    return error;
}

/*
 * What is put back is in the journals. A service that is killed before the way back is removed must not put
 * it back once more, over what was set since. A power cut takes the mark and the journals away together.
 */
void mark_put_back() {
    UniqueFd fd;
    (void)report("can't make", open_file(paths::kPutBackMark, O_WRONLY | O_CREAT, fd));
}

bool is_marked_put_back() {
    return ::access(paths::kPutBackMark, F_OK) == 0;
}

/* Returns 0 or an errno value, which is logged. */
int remove_put_back_mark() {
    const bool is_gone = ::unlink(paths::kPutBackMark) == 0 || errno == ENOENT;
    return report("can't remove", is_gone ? 0 : errno);
}

const char *word_of(ApplyEnd end) {
    switch (end) {
        case ApplyEnd::kConfirmed:
            return "confirmed";
        case ApplyEnd::kTimedOut:
            return "reverted, since nobody confirmed them in time";
        case ApplyEnd::kRevertedAtStart:
            return "reverted, since the service ended before they were confirmed";
        case ApplyEnd::kReplaced:
            return "kept: the way back is given up for a new one";
        default:
            return "reverted on request";
    }
}

}  // namespace

Trial::Trial(Database &database, const Times &times)
    : database_(database),
      times_(times),
      stage_(times.patience),
      file_(paths::kWayBackFile),
      kept_files_(paths::kWayBackFile) {}

// ---- the state ----

void Trial::change_state(ApplyState state, Clock::duration until_due) {
    state_ = state;
    due_ = Clock::now() + until_due;
    moved_.notify_all();
}

/* Whether something happens by itself when the time has come. */
bool Trial::has_time_limit() const {
    return state_ != ApplyState::kNone && state_ != ApplyState::kKept;
}

uint32_t Trial::seconds_left() const {
    const auto left = ceil<seconds>(due_ - Clock::now()).count();
    return state_ == ApplyState::kWaiting ? static_cast<uint32_t>(std::max<int64_t>(left, 0)) : 0;
}

bool Trial::concerns(StoreId id) const {
    return std::any_of(way_back_.changes.begin(), way_back_.changes.end(),
                       [id](const KeyChange &change) { return change.store == id; }) ||
           (way_back_.is_whole && id == StoreId::kPlain);
}

void Trial::end(ApplyEnd end) {
    OS_LOG(OS_LOG_NOTICE, "%zu settings on trial are %s", way_back_.changes.size(), word_of(end));
    kept_files_.drop();
    way_back_ = WayBack();
    is_put_back_ = false;
    last_end_ = end;
    change_state(ApplyState::kNone, {});
}

void Trial::wait(Clock::duration longest) {
    std::unique_lock<std::mutex> lock(mutex_);
    const Clock::time_point latest = Clock::now() + longest;
    (void)moved_.wait_until(lock, has_time_limit() ? std::min(due_, latest) : latest);
}

void Trial::declare_unwatched() {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_watched_ = false;
}

// ---- back ----

apps_err_e_type Trial::put_all_back() {
    if (is_put_back_) {
        return E_APPS_ERR_SUCCESS;
    }
    apps_err_e_type result = database_.put_back(way_back_);
    if (result == E_APPS_ERR_SUCCESS) {
        result = result_of_errno(kept_files_.put_back(way_back_.files));
    }
    is_put_back_ = result == E_APPS_ERR_SUCCESS;
    if (is_put_back_) {
        mark_put_back();
    }
    return result;
}

/* As before a power-off: what only lasts until the reboot doesn't become permanent. */
apps_err_e_type Trial::save_put_back() {
    apps_err_e_type each[std::size(kStoreIds)] = {};
    (void)database_.save_before_power_off(each);
    for (const StoreId id : kStoreIds) {
        if (concerns(id) && each[static_cast<size_t>(id)] != E_APPS_ERR_SUCCESS) {
            return each[static_cast<size_t>(id)];
        }
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type Trial::revert(ApplyEnd how) {
    apps_err_e_type result = put_all_back();
    if (result == E_APPS_ERR_SUCCESS) {
        result = save_put_back();
    }
    if (result == E_APPS_ERR_SUCCESS) {
        bool is_gone = false;
        result = result_of_errno(file_.remove(is_gone));
    }
    if (result == E_APPS_ERR_SUCCESS) {
        end(how);
        return result;
    }
    OS_LOG(OS_LOG_WARNING, "%zu settings on trial could not be reverted yet: result %d",
           way_back_.changes.size(), result);
    coming_end_ = how;
    change_state(ApplyState::kReverting, times_.retry);
    return result;
}

void Trial::recover() {
    const std::lock_guard<std::mutex> lock(mutex_);
    bool is_there = false;
    if (file_.read(way_back_, is_there) != 0 || !is_there) {
        way_back_ = WayBack();
        kept_files_.drop();
    } else if (way_back_.is_kept) {
        change_state(ApplyState::kKept, {});
    } else {
        is_put_back_ = is_marked_put_back();
        (void)revert(ApplyEnd::kRevertedAtStart);
    }
}

void Trial::act_if_due() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (has_time_limit() && Clock::now() >= due_) {
        (void)revert(state_ == ApplyState::kReverting ? coming_end_ : ApplyEnd::kTimedOut);
    }
}

apps_err_e_type Trial::revert_on_request() {
    if (state_ == ApplyState::kNone) {
        return refuse(E_APPS_ERR_ZNDB_NO_FOUND, "there is nothing to revert");
    }
    return revert(ApplyEnd::kReverted);
}

apps_err_e_type Trial::before_reset() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != ApplyState::kWaiting || way_back_.is_whole || way_back_.plain_was_reset ||
        !concerns(StoreId::kPlain)) {
        return E_APPS_ERR_SUCCESS;
    }
    way_back_.plain_was_reset = true;
    const int error = file_.write(way_back_);
    way_back_.plain_was_reset = error == 0;
    return result_of_errno(error);
}

// ---- forth ----

apps_err_e_type Trial::check_free() const {
    if (state_ != ApplyState::kNone && state_ != ApplyState::kKept) {
        return refuse(E_APPS_ERR_BUSY, "something else awaits confirmation, or is being reverted");
    }
    return is_watched_ ? E_APPS_ERR_SUCCESS
                       : refuse(E_APPS_ERR_ZNDB_OTHER, "no thread would revert it in time");
}

/* The way back from a restore that somebody has neither confirmed nor reverted gives way to a new one. */
apps_err_e_type Trial::give_up_kept() {
    if (state_ != ApplyState::kKept) {
        return E_APPS_ERR_SUCCESS;
    }
    bool is_gone = false;
    const int error = file_.remove(is_gone);
    if (is_gone) {
        end(ApplyEnd::kReplaced);
    }
    return result_of_errno(error);
}

apps_err_e_type Trial::begin(WayBack way_back) {
    way_back_ = std::move(way_back);
    int error = remove_put_back_mark();
    error = error == 0 ? file_.write(way_back_) : error;
    if (error != 0) {
        withdraw();
    }
    return result_of_errno(error);
}

/*
 * Removes a way back of which nothing was made. If that fails, it is tried again like a revert: the next
 * start of the service would revert what was set until then.
 */
void Trial::withdraw() {
    bool is_gone = false;
    if (file_.remove(is_gone) != 0) {
        coming_end_ = ApplyEnd::kReverted;
        change_state(ApplyState::kReverting, times_.retry);
        return;
    }
    kept_files_.drop();
    way_back_ = WayBack();
    change_state(ApplyState::kNone, {});
}

/* Another change between the preview and this one makes an expectation fail. */
apps_err_e_type Trial::apply_as_previewed(const std::vector<ZndbItem> &items, BatchAnswer &answer) {
    std::vector<ZndbItem> all;
    all.reserve(way_back_.changes.size() + items.size());
    for (const KeyChange &change : way_back_.changes) {
        all.push_back(expectation_of(change));
    }
    const auto added = static_cast<uint32_t>(all.size());
    all.insert(all.end(), items.begin(), items.end());
    const apps_err_e_type result = database_.apply_batch(span_of(all), answer);
    answer.item = answer.item != kNoItem && answer.item >= added ? answer.item - added : kNoItem;
    return result;
}

apps_err_e_type Trial::commit_on_trial(const std::vector<ZndbItem> &items, uint32_t limit,
                                       BatchAnswer &answer) {
    apps_err_e_type result = check_free();
    WayBack way_back;
    if (result == E_APPS_ERR_SUCCESS) {
        result = database_.preview_batch(span_of(items), answer, way_back.changes);
    }
    if (result == E_APPS_ERR_SUCCESS && way_back.changes.size() > kWayBackChangesMax) {
        result = refuse(E_APPS_ERR_ZNDB_MEM, "there are too many changes");
    }
    if (result == E_APPS_ERR_SUCCESS && way_back.changes.empty()) {
        answer.verdict = E_ZNDB_RET_SUCCESS;
        return result;
    }
    if (result == E_APPS_ERR_SUCCESS) {
        result = give_up_kept();
    }
    if (result == E_APPS_ERR_SUCCESS) {
        result = begin(std::move(way_back));
    }
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    result = apply_as_previewed(items, answer);
    if (result != E_APPS_ERR_SUCCESS) {
        withdraw();
        return result;
    }
    OS_LOG(OS_LOG_NOTICE, "%zu settings applied on trial, to be confirmed within %u s",
           way_back_.changes.size(), limit);
    change_state(ApplyState::kWaiting, seconds(limit));
    return result;
}

apps_err_e_type Trial::commit(const ApplyRequest &request, BatchAnswer &answer) {
    std::string bytes;
    std::vector<ZndbItem> items;
    answer.verdict = E_ZNDB_RET_FAILURE;
    const apps_err_e_type result = stage_.take(request.number, bytes, items);
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    return request.seconds == 0 ? database_.apply_batch(span_of(items), answer)
                                : commit_on_trial(items, request.seconds, answer);
}

// ---- a restore ----

/* The plain store as it is: a restore touches no other one. */
apps_err_e_type Trial::copy_plain(WayBack &way_back) {
    StoreValues values;
    const apps_err_e_type result = database_.copy_values(StoreId::kPlain, values);
    if (result == E_APPS_ERR_SUCCESS && values.size() > kWayBackChangesMax) {
        return refuse(E_APPS_ERR_ZNDB_MEM, "there are too many settings");
    }
    way_back.is_whole = true;
    for (const auto &[key, value] : values) {
        way_back.changes.push_back({StoreId::kPlain, key, value, std::nullopt});
    }
    return result;
}

apps_err_e_type Trial::keep(uint32_t limit) {
    WayBack way_back;
    way_back.is_kept = limit == 0;
    apps_err_e_type result = check_free();
    if (result == E_APPS_ERR_SUCCESS) {
        result = copy_plain(way_back);
    }
    if (result == E_APPS_ERR_SUCCESS) {
        result = give_up_kept(); /* its copies of files would be replaced */
    }
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    result = result_of_errno(kept_files_.keep(way_back.files));
    if (result == E_APPS_ERR_SUCCESS) {
        result = begin(std::move(way_back));
    }
    if (result == E_APPS_ERR_SUCCESS) {
        seconds_ = limit;
        change_state(limit == 0 ? ApplyState::kKept : ApplyState::kRestoring, times_.restore);
    }
    return result;
}

apps_err_e_type Trial::note_restored() {
    if (state_ == ApplyState::kKept) {
        return E_APPS_ERR_SUCCESS;
    }
    if (state_ != ApplyState::kRestoring) {
        return refuse(E_APPS_ERR_ZNDB_NO_FOUND, "there is no restore");
    }
    change_state(ApplyState::kWaiting, seconds(seconds_));
    return E_APPS_ERR_SUCCESS;
}

// ---- for good ----

/* Otherwise a power cut would bring back the old values, after the confirmation was answered. */
apps_err_e_type Trial::save_changed() {
    SaveResults each = {};
    (void)database_.save(&each);
    if (concerns(StoreId::kPlain) && each.plain != E_APPS_ERR_SUCCESS) {
        return each.plain;
    }
    if (concerns(StoreId::kPerm) && each.perm != E_APPS_ERR_SUCCESS) {
        return each.perm;
    }
    return concerns(StoreId::kFactory) ? database_.save_factory() : E_APPS_ERR_SUCCESS;
}

apps_err_e_type Trial::confirm() {
    const bool is_late = state_ == ApplyState::kWaiting && Clock::now() >= due_;
    if (is_late || (state_ != ApplyState::kWaiting && state_ != ApplyState::kKept)) {
        return refuse(E_APPS_ERR_ZNDB_NO_FOUND, "there is nothing to confirm");
    }
    apps_err_e_type result = save_changed();
    if (result != E_APPS_ERR_SUCCESS) {
        return result;
    }
    bool is_gone = false;
    result = result_of_errno(file_.remove(is_gone));
    if (is_gone) {
        end(ApplyEnd::kConfirmed);
    }
    return result;
}

// ---- requests ----

apps_err_e_type Trial::act(const ApplyRequest &request, ApplyAnswer &answer) {
    switch (request.action) {
        case ApplyAction::kBegin:
            return stage_.begin(answer.number);
        case ApplyAction::kAdd:
            return stage_.add(request);
        case ApplyAction::kCommit:
            return commit(request, answer.batch);
        case ApplyAction::kAbandon:
            return stage_.abandon(request.number);
        case ApplyAction::kConfirm:
            return confirm();
        case ApplyAction::kRevert:
            return revert_on_request();
        case ApplyAction::kKeep:
            return keep(request.seconds);
        case ApplyAction::kRestored:
            return note_restored();
        case ApplyAction::kUndo:
            return database_.undo_unsaved(answer.changes);
        case ApplyAction::kStatus:
            break;
    }
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type Trial::handle(const ApplyRequest &request, ApplyAnswer &answer) {
    const std::lock_guard<std::mutex> lock(mutex_);
    answer = ApplyAnswer();
    answer.batch.item = kNoItem;
    const apps_err_e_type result = act(request, answer);
    answer.state = static_cast<uint32_t>(state_);
    answer.seconds = seconds_left();
    answer.last_end = static_cast<uint32_t>(last_end_);
    if (request.action != ApplyAction::kUndo) {
        answer.changes = static_cast<uint32_t>(way_back_.changes.size());
    }
    return result;
}
