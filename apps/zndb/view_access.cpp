#include "view_access.h"

#include <grp.h>
#include <sys/stat.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "os_log.h"

namespace {

constexpr char kModeName[] = "QUOR_ZNDB_VIEW_MODE";
constexpr char kGroupName[] = "QUOR_ZNDB_VIEW_GROUP";
constexpr mode_t kOthersRead = S_IRGRP | S_IROTH;
constexpr mode_t kOwner = S_IRUSR | S_IWUSR;
constexpr mode_t kRights = 07777;

/* The variable's text; null if it is missing or empty. */
const char *text_of(const char *name) {
    const char *text = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody changes the environment
    return text != nullptr && text[0] != '\0' ? text : nullptr;
}

/* A whole number that is not above max. */
std::optional<unsigned long> number_of(const char *text, int base, unsigned long max) {
    char *end = nullptr;
    const unsigned long number = std::strtoul(text, &end, base);
    const bool whole = text[0] >= '0' && text[0] <= '9' && *end == '\0';
    return whole && number <= max ? std::optional(number) : std::nullopt;
}

std::optional<unsigned long> group_of(const char *name) {
    // cppcheck-suppress getgrnamCalled ; called once
    const group *found = ::getgrnam(name);  // NOLINT(concurrency-mt-unsafe): called once
    return found != nullptr ? std::optional<unsigned long>(found->gr_gid) : number_of(name, 10, INT32_MAX);
}

void warn(const char *name, const char *text) {
    OS_LOG(OS_LOG_WARNING, "%s=%s is ignored", name, text);
}

}  // namespace

ViewAccess view_access() {
    ViewAccess access;
    const char *mode = text_of(kModeName);
    if (const auto number = mode != nullptr ? number_of(mode, 8, kRights) : std::nullopt) {
        access.mode = (static_cast<mode_t>(*number) & kOthersRead) | kOwner;
    } else if (mode != nullptr) {
        warn(kModeName, mode);
    }

    const char *group = text_of(kGroupName);
    if (const auto number = group != nullptr ? group_of(group) : std::nullopt) {
        access.group = static_cast<gid_t>(*number);
    } else if (group != nullptr) {
        warn(kGroupName, group);
    }
    return access;
}
