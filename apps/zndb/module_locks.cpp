#include "module_locks.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <string>

#include "formats/device_paths.h"
#include "formats/module_flags.h"
#include "internal/planted.h"
#include "support/unique_fd.h"

namespace {

/* Whether it is a lock file that a module can have made. A second name could be the database's own lock. */
bool is_lock_file(const char *path) {
    struct stat found = {};
    return ::lstat(path, &found) == 0 && S_ISREG(found.st_mode) &&
           !is_planted(path, found, FolderOwner::kTrustedWithParent);
}

/* The process that holds the lock of a file; 0 for none. */
int32_t holder_of(const char *path) {
    if (!is_lock_file(path)) {
        return 0;
    }
    const UniqueFd file(::open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const bool known = file && ::fcntl(file.get(), F_GETLK, &lock) == 0;
    return known && lock.l_type == F_WRLCK ? static_cast<int32_t>(lock.l_pid) : 0;
}

/* Whether a lock keeps the module from running twice. */
bool has_lock(uint32_t id) {
    const frwk_module_info &row = g_modules_info[id];
    return id != E_APPS_MODULE_ZNDB && row.name != nullptr && (row.flag & kSingleInstanceFlags) != 0;
}

}  // namespace

ModuleSet modules_of(int32_t process) {
    ModuleSet found = 0;
    for (uint32_t id = E_APPS_MODULE_MIN + 1; process > 0 && id < E_APPS_MODULE_MAX; ++id) {
        const std::string path = std::string(paths::kLockFolder) + "/";
        if (has_lock(id) && holder_of((path + g_modules_info[id].name).c_str()) == process) {
            found |= module_bit(id);
        }
    }
    return found;
}
