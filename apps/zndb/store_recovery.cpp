#include "store_recovery.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include "damaged_file.h"
#include "os_log.h"
#include "previous_file.h"

namespace {

constexpr char kUnreadable[] = "it can't be read";

/* Whether an errno value is about the file or its disk, not about this process, which may be out of memory.
 */
bool is_of_the_file(int error) {
    switch (error) {
        case EIO:
        case EISDIR:
        case EINVAL:
        case ELOOP:
        case EUCLEAN:
        case EBADMSG:
            return true;
        default:
            return false;
    }
}

/* Why a file is damaged, or null. */
const char *damage_of(const FileCheck &check) {
    if (check.error != 0) {
        return is_of_the_file(check.error) ? kUnreadable : nullptr;
    }
    switch (check.integrity) {
        case Integrity::kWrong:
            return "its checksum is wrong";
        case Integrity::kCut:
            return "it is cut";
        case Integrity::kUnknown:
        case Integrity::kSound:
            break;
    }
    return nullptr;
}

bool is_usable(const FileCheck &previous) {
    return previous.error == 0 &&
           (previous.integrity == Integrity::kSound || previous.integrity == Integrity::kUnknown);
}

/* Sets the damaged file aside. Returns its new name; "" if that is impossible, which is logged. */
std::string set_aside(const std::string &path) {
    std::string kept;
    const int error = set_damaged_aside(path, kept);
    if (error != 0) {
        errno = error;
        OS_LOG_ERRNO(("can't set aside " + path).c_str());
    }
    if (!kept.empty()) {
        forget_old_damaged(path, kept);
    }
    return kept;
}

/* One line for a damaged file, whatever became of it. */
void warn(const std::string &path, const char *damage, const std::string &kept, const char *used) {
    OS_LOG(OS_LOG_WARNING, "%s is damaged: %s. %s%s; %s. To edit the file by hand, remove its last line",
           path.c_str(), damage, kept.empty() ? "It stays there" : "It was set aside as ", kept.c_str(),
           used);
}

bool put_previous_in_place(const std::string &path) {
    const int error = bring_previous_back(path);
    if (error != 0) {
        errno = error;
        OS_LOG_ERRNO(("can't replace " + path).c_str());
    }
    return error == 0;
}

/*
 * Uses the file before the last save. check: that of the damaged file. Returns nothing, and does nothing, if
 * there is none, or it is of no use either.
 */
std::optional<LoadedStore> fall_back(const std::string &path, const FileCheck &check, const char *damage,
                                     Store &store) {
    const FileCheck previous = check_file(previous_of(path));
    Store older;
    const LoadedFile loaded = read_store_file(previous_of(path), previous, older);
    if (!is_usable(previous) || loaded.error != 0) {
        return std::nullopt;
    }
    store = std::move(older);
    const std::string kept = set_aside(path);
    warn(path, damage, kept, "the file before the last save is used");
    const bool is_replaced = !kept.empty() && put_previous_in_place(path);
    const uint64_t generation = std::max(check.line.generation, previous.line.generation);
    return LoadedStore{0, loaded.lines, generation, kept, !is_replaced};
}

/* Uses what is there. The next generation follows that of the previous file, if this one does not say its
 * own.
 */
LoadedStore use_file(const std::string &path, const FileCheck &check, const LoadedFile &loaded) {
    if (loaded.error != 0) {
        report_unreadable(path, loaded.error);
    }
    const uint64_t generation =
        check.line.generation != 0 ? check.line.generation : check_file(previous_of(path)).line.generation;
    LoadedStore used = {loaded.error, loaded.lines, generation, "", false};
    if (loaded.error == 0 && check.integrity == Integrity::kWrong) {
        used.set_aside = set_aside(path);
        used.is_file_damaged = true;
        warn(path, damage_of(check), used.set_aside,
             "there is no file of an earlier save, and what can be read of it is used");
    }
    return used;
}

}  // namespace

LoadedStore load_newest(const std::string &path, Store &store) {
    const FileCheck check = check_file(path);
    const char *damage = damage_of(check);
    std::optional<LoadedStore> older;
    if (damage != nullptr) {
        older = fall_back(path, check, damage, store);
    }
    if (older) {
        return *older;
    }

    const LoadedFile loaded = read_store_file(path, check, store);
    if (check.error == 0 && is_of_the_file(loaded.error)) {
        older = fall_back(path, check, kUnreadable, store);
    }
    return older ? *older : use_file(path, check, loaded);
}
