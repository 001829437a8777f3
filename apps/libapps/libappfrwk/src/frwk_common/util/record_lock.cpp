/*
 * Locks files for the framework.
 */
#include "frwk_common/util/record_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "internal/guarded_file.h"

namespace {

constexpr mode_t kLockFileMode = 0600;

}  // namespace

UniqueFile open_lock_file(const char *path) {
    return open_guarded_stream(path, O_RDWR | O_CREAT | O_TRUNC, kLockFileMode, Planted::kSetAside, "w+");
}

RecordLock lock_whole_file(std::FILE *file) {
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (::fcntl(::fileno(file), F_SETLK, &whole) >= 0) {
        return RecordLock::kHeld;
    }
    return errno == EAGAIN || errno == EACCES ? RecordLock::kHeldElsewhere : RecordLock::kFailed;
}
