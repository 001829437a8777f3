/*
 * Opens guarded files. A file is checked after it was opened and before it is used, so that nobody can
 * replace it in between.
 */
#include "internal/guarded_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "internal/frwk_log.h"
#include "internal/planted.h"
#include "support/file_io.h"

namespace {

constexpr mode_t kRights = 07777;

/* Applies the flags after opening. Returns 0 or an errno value. */
int settle(int fd, const struct stat &found, int flags, mode_t mode) {
    if ((flags & O_CREAT) != 0 && !narrow_rights(fd, found, mode)) {
        return errno;
    }
    const bool has_text = (flags & O_TRUNC) != 0 && found.st_size != 0;
    return has_text && ::ftruncate(fd, 0) != 0 ? errno : 0;
}

/* Checks an open file. Returns 0, or the errno value if it is refused; EPERM for a planted one. */
int look_at(int fd, const char *path, int flags, mode_t mode, Planted planted, FolderOwner folder_owner) {
    struct stat found;
    if (::fstat(fd, &found) != 0) {
        return errno;
    }
    if (is_planted(path, found, folder_owner)) {
        if (planted == Planted::kRefuse) {
            FRWK_WARN(__func__, "%s is not ours (owner %u, mode %04o): refused", path, found.st_uid,
                      found.st_mode & kRights);
        }
        return EPERM;
    }
    const int error = file_io::kind_error(found);
    return error != 0 ? error : settle(fd, found, flags, mode);
}

UniqueFd open_ours(const char *path, int flags, mode_t mode, Planted planted, FolderOwner folder_owner) {
    UniqueFd fd(::open(path, (flags & ~O_TRUNC) | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, mode));
    const int error = fd ? look_at(fd.get(), path, flags, mode, planted, folder_owner) : errno;
    if (error != 0) {
        fd.reset();
        errno = error;
    }
    return fd;
}

}  // namespace

UniqueFd open_guarded(const char *path, int flags, mode_t mode, Planted planted, FolderOwner folder_owner) {
    UniqueFd fd = open_ours(path, flags, mode, planted, folder_owner);
    if (fd || planted == Planted::kRefuse) {
        return fd;
    }

    const int error = errno;
    if (set_aside_planted(path, folder_owner)) {
        return open_ours(path, flags | O_EXCL, mode, planted, folder_owner);
    }
    errno = error;
    return UniqueFd();
}

UniqueFile open_guarded_stream(const char *path, int flags, mode_t mode, Planted planted,
                               const char *stream_mode) {
    return open_stream(open_guarded(path, flags, mode, planted), stream_mode);
}
