/*
 * Locks files for the framework.
 */
#include "frwk_common/util/record_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "internal/guarded_file.h"
#include "internal/planted.h"

namespace {

constexpr mode_t kLockFileMode = 0600;

UniqueFile open_file(const char *path) {
    return open_guarded_stream(path, O_RDWR | O_CREAT | O_TRUNC, kLockFileMode, Planted::kSetAside, "w+");
}

struct flock whole_file() {
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    return whole;
}

bool is_read_locked(std::FILE *file) {
    struct flock held = whole_file();
    return ::fcntl(::fileno(file), F_GETLK, &held) == 0 && held.l_type == F_RDLCK;
}

}  // namespace

UniqueFile open_lock_file(const char *path) {
    UniqueFile file = open_file(path);
    const bool is_socket = !file && errno == ENXIO; /* somebody has renamed the folder of sockets */
    return is_socket && set_aside_misplaced(path, S_IFREG) ? open_file(path) : std::move(file);
}

RecordLock lock_whole_file(std::FILE *file) {
    struct flock whole = whole_file();
    if (::fcntl(::fileno(file), F_SETLK, &whole) >= 0) {
        return RecordLock::kHeld;
    }
    return errno == EAGAIN || errno == EACCES ? RecordLock::kHeldElsewhere : RecordLock::kFailed;
}

bool set_aside_read_locked(const char *path, std::FILE *file) {
    return is_read_locked(file) && set_aside_open(path, ::fileno(file), "read-locked");
}
