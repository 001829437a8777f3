#include "atomic_file_log.h"

#include <cstring>

#include "os_log.h"

void log_removed_leftover(const char *name) {
    OS_LOG(OS_LOG_NOTICE, "removed %s, which a killed process left", name);
}

void log_unsynced_folder(const char *path) {
    OS_LOG(OS_LOG_WARNING, "can't sync the folder of %s, errno=%d, cause: %s", path, os_log_errno,
           strerror(os_log_errno));  // NOLINT(concurrency-mt-unsafe)
}

bool is_in_place(AtomicFile::Placed placed, const char *path) {
    if (placed == AtomicFile::Placed::kUnsynced) {
        log_unsynced_folder(path);
    }
    return placed != AtomicFile::Placed::kNo;
}
