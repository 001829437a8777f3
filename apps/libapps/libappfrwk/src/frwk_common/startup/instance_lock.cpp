/*
 * A record lock on the module's lock file. The file stays open until the process ends, since closing
 * any descriptor of it would release the lock.
 */
#include "frwk_common/startup/instance_lock.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "formats/device_paths.h"
#include "frwk_common/util/record_lock.h"
#include "internal/frwk_log.h"
#include "internal/guarded_file.h"
#include "internal/guarded_folder.h"

namespace {

constexpr size_t kLockPathSize = 256;

/* Held until the process ends; never closed. */
std::FILE *g_s_instance_lock_file = nullptr;

[[noreturn]] void die(const char *format, const char *what) {
    (void)std::fprintf(stderr, format, what);
    std::exit(-1);  // NOLINT(concurrency-mt-unsafe): there are no other threads yet
}

UniqueFile open_or_die(const char *path) {
    UniqueFile file = open_lock_file(path);
    if (!file) {
        die("can't open %s\n", path);
    }
    return file;
}

}  // namespace

void take_instance_lock(const char *module_name) {
    make_guarded_temp_folder(paths::kLockFolder);

    char path[kLockPathSize];
    (void)std::snprintf(path, sizeof(path), "%s/%s", paths::kLockFolder, module_name);
    UniqueFile file = open_or_die(path);
    RecordLock lock = lock_whole_file(file.get());
    if (lock == RecordLock::kHeldElsewhere && set_aside_read_locked(path, file.get())) {
        file = open_or_die(path);
        lock = lock_whole_file(file.get());
    }
    if (lock == RecordLock::kHeldElsewhere) {
        file.reset();
        die("the '%s' is already running!\n", module_name);
    }
    if (lock == RecordLock::kFailed) {
        file.reset();
        die("can't lock %s\n", path);
    }

    // Only the lock is required: the module also runs without the process id in the file.
    (void)std::fprintf(file.get(), "%ld", static_cast<long>(::getpid()));
    if (std::fflush(file.get()) != 0 || std::ferror(file.get()) != 0) {
        FRWK_WARN_ERRNO(__func__, "write instance lock file error!");
    }
    g_s_instance_lock_file = file.take();
}
