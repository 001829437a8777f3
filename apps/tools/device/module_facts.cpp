#include "device/module_facts.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "device/lock_table.h"
#include "frwk_common.h"

namespace {

constexpr char kLockFolder[] = "/tmp/m_tmp/lock/";

/* Serves messages from its start although nobody watches it; the bit has no keyword. */
constexpr uint32_t kServesUnwatched = 0x4000;

constexpr uint32_t kLockFlags = FRWK_FLAG_DAEMON | FRWK_FLAG_MONITORED;
constexpr int kFlagBits = 32;

struct FlagName {
    uint32_t bit;
    const char *name;
};

constexpr FlagName kFlagNames[] = {
    {FRWK_FLAG_DAEMON, "DAEMON"},     {FRWK_FLAG_MONITORED, "MONITORED"}, {FRWK_FLAG_RUN, "RUN"},
    {FRWK_FLAG_BLOCK, "BLOCK"},       {FRWK_FLAG_MPSS, "MPSS"},           {FRWK_FLAG_ADMIN, "ADMIN"},
    {FRWK_FLAG_POWEROFF, "POWEROFF"}, {FRWK_FLAG_PRESTART, "PRESTART"},   {FRWK_FLAG_EXTERNAL, "EXTERNAL"},
    {FRWK_FLAG_PSEUDO, "PSEUDO"},
};

std::string flag_word(uint32_t bit) {
    for (const FlagName &flag : kFlagNames) {
        if (flag.bit == bit) {
            return flag.name;
        }
    }
    char number[16];
    (void)std::snprintf(number, sizeof(number), "0x%04x", bit);
    return number;
}

/* The process that holds a lock on a file; 0 for none. */
pid_t lock_holder(const std::string &path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        return listed_lock_holder(path);
    }
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const bool told = ::fcntl(fd, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    ::close(fd);
    return told ? lock.l_pid : 0;
}

/* Skips the tool's own lock file: closing the file would release the lock. */
pid_t process_of(const frwk_module_info &row) {
    const bool own = frwk_module_name(-1) == row.name;
    return (row.flag & kLockFlags) == 0 || own ? 0 : lock_holder(std::string(kLockFolder) + row.name);
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
    return (facts.flags & (kLockFlags | kServesUnwatched)) != 0;
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
