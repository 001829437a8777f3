#include "device/module_facts.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "device/lock_table.h"
#include "formats/device_paths.h"
#include "formats/module_flags.h"
#include "frwk_common.h"
#include "support/unique_fd.h"

namespace {

constexpr int kFlagBits = 32;

std::string flag_word(uint32_t bit) {
    if (const char *name = flag_name(bit)) {
        return name;
    }
    char number[16];
    (void)std::snprintf(number, sizeof(number), "0x%04x", bit);
    return number;
}

/* The process that holds a lock on a file; 0 for none. */
pid_t lock_holder(const std::string &path) {
    const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd) {
        return listed_lock_holder(path);
    }
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const bool told = ::fcntl(fd.get(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    return told ? lock.l_pid : 0;
}

/* Skips the tool's own lock file: closing the file would release the lock. */
pid_t process_of(const frwk_module_info &row) {
    const bool own = frwk_module_name(-1) == row.name;
    return (row.flag & kSingleInstanceFlags) == 0 || own
               ? 0
               : lock_holder(std::string(paths::kLockFolder) + "/" + row.name);
}

}  // namespace

ModuleFacts module_facts(int32_t id) {
    const frwk_module_info &row = g_modules_info[id];
    const bool enabled = frwk_module_disabled(id, nullptr, 0) == 0;
    return {id, row.name, row.alias != nullptr ? row.alias : "", row.flag, enabled, process_of(row)};
}

std::vector<ModuleFacts> all_module_facts() {
    std::vector<ModuleFacts> all;
    for (int32_t id = 0; id < E_APPS_MODULE_MAX; ++id) {
        if (g_modules_info[id].name != nullptr) {
            all.push_back(module_facts(id));
        }
    }
    return all;
}

bool is_service(const ModuleFacts &facts) {
    return (facts.flags & kServingFlags) != 0;
}

std::vector<std::string> flag_words(uint32_t flags) {
    std::vector<std::string> words;
    for (int i = 0; i < kFlagBits; ++i) {
        const uint32_t bit = 1u << i;
        if ((flags & bit) != 0) {
            words.push_back(flag_word(bit));
        }
    }
    return words;
}
