#include "support/atomic_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "support/file_io.h"

namespace {

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

/* Whether the last part of a path is as long as a name may be. */
bool ends_in_a_name(const char *path) {
    const char *slash = strrchr(path, '/');
    return strlen(slash != nullptr ? slash + 1 : path) <= NAME_MAX;
}

}  // namespace

AtomicFile::AtomicFile(int folder, const char *target) : folder_(folder), target_(target) {}

AtomicFile::~AtomicFile() {
    if (name_[0] != '\0') {
        const int kept = errno;
        (void)unlinkat(folder_, name_, 0);
        errno = kept;
    }
}

bool AtomicFile::name_beside(const char *suffix) {
    const int length = snprintf(name_, sizeof(name_), "%s%s", target_, suffix);
    if (length >= static_cast<int>(sizeof(name_)) || !ends_in_a_name(name_)) {
        name_[0] = '\0'; /* a truncated name may be that of another file */
        errno = ENAMETOOLONG;
        return false;
    }
    return true;
}

bool AtomicFile::create_beside(const char *suffix, int flags) {
    if (!name_beside(suffix)) {
        return false;
    }
    (void)unlinkat(folder_, name_, 0);
    fd_.reset(openat(folder_, name_, flags | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly));
    return static_cast<bool>(fd_);
}

bool AtomicFile::create_unique(const char *kind, LeftoverRemoved removed) {
    fd_ = make_locked_file(folder_, kind, name_, sizeof(name_), removed);
    return static_cast<bool>(fd_);
}

AtomicFile::Placed AtomicFile::replace_target(Sync sync) {
    if (sync == Sync::kAll && fsync(fd_.get()) != 0) {
        return Placed::kNo;
    }
    if (renameat(folder_, name_, folder_, target_) != 0) {
        return Placed::kNo;
    }
    name_[0] = '\0';
    return sync == Sync::kNothing || sync_folder() ? Placed::kYes : Placed::kUnsynced;
}

AtomicFile::Placed AtomicFile::become_target() {
    if (fsync(fd_.get()) != 0 || linkat(folder_, name_, folder_, target_, 0) != 0) {
        return Placed::kNo;
    }
    return sync_folder() ? Placed::kYes : Placed::kUnsynced;
}

bool AtomicFile::discard() {
    if (unlinkat(folder_, name_, 0) != 0) {
        return false;
    }
    name_[0] = '\0';
    return true;
}

bool AtomicFile::sync_folder() const {
    return file_io::sync_folder_of(folder_, target_);
}
