#include "view_access.h"

#include <grp.h>
#include <sys/stat.h>

#include <cstdint>
#include <optional>

#include "environment.h"

namespace {

constexpr char kModeName[] = "QUOR_ZNDB_VIEW_MODE";
constexpr char kGroupName[] = "QUOR_ZNDB_VIEW_GROUP";
constexpr mode_t kOthersRead = S_IRGRP | S_IROTH;
constexpr mode_t kOwner = S_IRUSR | S_IWUSR;
constexpr mode_t kRights = 07777;

std::optional<unsigned long> group_of(const char *name) {
    // cppcheck-suppress getgrnamCalled ; called once
    const group *found = ::getgrnam(name);  // NOLINT(concurrency-mt-unsafe): called once
    return found != nullptr ? std::optional<unsigned long>(found->gr_gid) : whole_number(name, 10, INT32_MAX);
}

}  // namespace

ViewAccess view_access() {
    ViewAccess access;
    const char *mode = environment_text(kModeName);
    if (const auto number = mode != nullptr ? whole_number(mode, 8, kRights) : std::nullopt) {
        access.mode = (static_cast<mode_t>(*number) & kOthersRead) | kOwner;
    } else if (mode != nullptr) {
        warn_ignored(kModeName, mode);
    }

    const char *group = environment_text(kGroupName);
    if (const auto number = group != nullptr ? group_of(group) : std::nullopt) {
        access.group = static_cast<gid_t>(*number);
    } else if (group != nullptr) {
        warn_ignored(kGroupName, group);
    }
    return access;
}
