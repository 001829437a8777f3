#include "unfinished_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "file_io.h"
#include "os_log.h"

namespace {

constexpr char kRandom[] = "XXXXXX";
constexpr size_t kRandomLength = sizeof(kRandom) - 1;

/* How often a new file may be taken for a leftover before its maker gives up. */
constexpr int kAttempts = 10;

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};
using OwnedFolder = std::unique_ptr<DIR, CloseFolder>;

enum class Claim {
    kOurs,
    kCleared, /* another process took it for a leftover */
    kFailed
};

bool lock(int fd, int operation) {
    int result = flock(fd, operation);
    while (result != 0 && errno == EINTR) {
        result = flock(fd, operation);
    }
    return result == 0;
}

/* A leftover has no living owner, so that its lock is free. */
void remove_leftover(const OwnedFolder &folder, const char *name) {
    const int in = dirfd(folder.get());
    const OwnedFd fd(openat(in, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat found;
    if (!fd || !file_io::is_regular_file(fd.get(), &found) || !lock(fd.get(), LOCK_EX | LOCK_NB)) {
        return;
    }
    if (unlinkat(in, name, 0) == 0) {
        OS_LOG(OS_LOG_NOTICE, "removed %s, which a killed process left", name);
    }
}

/* name: as a new file has it, with anything in place of the random letters. */
bool is_like(const char *candidate, const char *name) {
    const size_t length = strlen(name);
    return strlen(candidate) == length && strncmp(candidate, name, length - kRandomLength) == 0;
}

void remove_leftovers(const char *path, const char *name) {
    const OwnedFolder folder(opendir(path));
    // cppcheck-suppress readdirCalled ; a stream of one thread, and readdir_r is withdrawn
    while (const dirent *entry = folder ? readdir(folder.get()) : nullptr) {
        if (is_like(entry->d_name, name)) {
            remove_leftover(folder, entry->d_name);
        }
    }
}

Claim claim(int fd) {
    struct stat found;
    if (!lock(fd, LOCK_EX) || fchmod(fd, S_IRUSR | S_IWUSR) != 0 || fstat(fd, &found) != 0) {
        return Claim::kFailed;
    }
    return found.st_nlink != 0 ? Claim::kOurs : Claim::kCleared;
}

void remove_file(const char *path) {
    const int kept = errno;
    (void)unlink(path);
    errno = kept;
}

}  // namespace

bool UnfinishedFile::set_names(const char *kind) {
    const char *slash = strrchr(target_, '/');
    const auto length = std::max<ptrdiff_t>(slash - target_, 1); /* 1: the root's own slash */
    const int size = snprintf(path_, sizeof(path_), "%.*s/%s.unfinished.%s", static_cast<int>(length),
                              target_, kind, kRandom);
    if (size < 0 || static_cast<size_t>(size) >= sizeof(path_)) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(folder_, target_, static_cast<size_t>(length));
    folder_[length] = '\0';
    return true;
}

int UnfinishedFile::make(const char *kind) {
    if (!set_names(kind)) {
        return -1;
    }
    char *random = path_ + strlen(path_) - kRandomLength;
    remove_leftovers(folder_, path_ + strlen(folder_) + 1);

    for (int i = 0; i < kAttempts; ++i) {
        memcpy(random, kRandom, kRandomLength);
        OwnedFd fd(mkostemp(path_, O_CLOEXEC));
        const Claim claimed = fd ? claim(fd.get()) : Claim::kFailed;
        if (claimed == Claim::kOurs) {
            return fd.take();
        }
        if (claimed == Claim::kFailed) {
            remove_file(path_);
            return -1;
        }
    }
    errno = EAGAIN;
    return -1;
}

UnfinishedFile::UnfinishedFile(const char *target, const char *kind)
    : target_(target), folder_(""), path_(""), fd_(make(kind)) {}

UnfinishedFile::~UnfinishedFile() {
    if (fd_ && path_[0] != '\0') {
        remove_file(path_);
    }
}

bool UnfinishedFile::replace_target() {
    if (fsync(fd_.get()) != 0 || rename(path_, target_) != 0) {
        return false;
    }
    path_[0] = '\0';
    sync_folder();
    return true;
}

bool UnfinishedFile::become_target() {
    if (fsync(fd_.get()) != 0 || link(path_, target_) != 0) {
        return false;
    }
    sync_folder();
    return true;
}

void UnfinishedFile::sync_folder() const {
    if (!file_io::sync_folder(folder_)) {
        OS_LOG(OS_LOG_WARNING, "can't sync the folder %s, errno=%d, cause: %s", folder_, os_log_errno,
               strerror(os_log_errno));  // NOLINT(concurrency-mt-unsafe)
    }
}
