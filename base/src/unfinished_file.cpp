#include "unfinished_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

#include "os_log.h"
#include "support/file_io.h"

namespace {

constexpr char kRandom[] = "XXXXXX";
constexpr size_t kRandomLength = sizeof(kRandom) - 1;

/* The number of attempts if other processes remove the new file as a leftover. */
constexpr int kAttempts = 10;

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};
using OwnedFolder = std::unique_ptr<DIR, CloseFolder>;

enum class Claim {
    kOurs,
    kCleared, /* another process removed it as a leftover */
    kFailed
};

bool lock(int fd, int operation) {
    int result = flock(fd, operation);
    while (result != 0 && errno == EINTR) {
        result = flock(fd, operation);
    }
    return result == 0;
}

/* Removes a file if it is a leftover: nobody holds its lock. */
void remove_leftover(const OwnedFolder &folder, const char *name) {
    const int in = dirfd(folder.get());
    const UniqueFd fd(openat(in, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat found;
    if (!fd || !file_io::is_regular_file(fd.get(), &found) || !lock(fd.get(), LOCK_EX | LOCK_NB)) {
        return;
    }
    if (unlinkat(in, name, 0) == 0) {
        OS_LOG(OS_LOG_NOTICE, "removed %s, which a killed process left", name);
    }
}

/* name: the name of a new file; its random letters are ignored. */
bool is_like(const char *candidate, const char *name) {
    const size_t length = strlen(name);
    return strlen(candidate) == length && strncmp(candidate, name, length - kRandomLength) == 0;
}

OwnedFolder list(int folder) {
    UniqueFd fd(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    OwnedFolder names(fd ? fdopendir(fd.get()) : nullptr);
    if (names) {
        (void)fd.take();
    }
    return names;
}

void remove_leftovers(int in, const char *name) {
    const OwnedFolder folder = list(in);
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

/* Chooses letters that are probably unused. They need not be unpredictable: the file must not exist yet. */
void draw_letters(char *letters) {
    constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    constexpr uint64_t kFactor =
        6364136223846793005; /* spreads a difference in the low bits to the high bits */
    static std::atomic<uint64_t> drawn{0};
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    uint64_t number = ++drawn ^ static_cast<uint64_t>(getpid());
    number = number * kFactor + static_cast<uint64_t>(now.tv_nsec);
    number = number * kFactor + static_cast<uint64_t>(now.tv_sec);
    for (size_t i = 0; i < kRandomLength; ++i) {
        number *= kFactor;
        letters[i] = kLetters[(number >> 32) % (sizeof(kLetters) - 1)];
    }
}

}  // namespace

void UnfinishedFile::remove_file() const {
    const int kept = errno;
    (void)unlinkat(target_.folder(), name_, 0);
    errno = kept;
}

int UnfinishedFile::make(const char *kind) {
    if (!target_) {
        return -1;
    }
    const int length = snprintf(name_, sizeof(name_), "%s.unfinished.%s", kind, kRandom);
    char *random = name_ + length - kRandomLength;
    remove_leftovers(target_.folder(), name_);

    for (int i = 0; i < kAttempts; ++i) {
        draw_letters(random);
        UniqueFd fd(
            openat(target_.folder(), name_, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (!fd && errno != EEXIST) {
            return -1;
        }
        const Claim claimed = fd ? claim(fd.get()) : Claim::kCleared;
        if (claimed == Claim::kOurs) {
            return fd.take();
        }
        if (claimed == Claim::kFailed) {
            remove_file();
            return -1;
        }
    }
    errno = EAGAIN;
    return -1;
}

UnfinishedFile::UnfinishedFile(const HeldPath &target, const char *kind)
    : target_(target), name_(""), fd_(make(kind)) {}

UnfinishedFile::~UnfinishedFile() {
    if (fd_ && name_[0] != '\0') {
        remove_file();
    }
}

bool UnfinishedFile::replace_target() {
    const int folder = target_.folder();
    if (fsync(fd_.get()) != 0 || renameat(folder, name_, folder, target_.name()) != 0) {
        return false;
    }
    name_[0] = '\0';
    sync_folder();
    return true;
}

bool UnfinishedFile::become_target() {
    const int folder = target_.folder();
    if (fsync(fd_.get()) != 0 || linkat(folder, name_, folder, target_.name(), 0) != 0) {
        return false;
    }
    sync_folder();
    return true;
}

void UnfinishedFile::sync_folder() const {
    if (!file_io::sync_folder(target_.folder(), ".")) {
        OS_LOG(OS_LOG_WARNING, "can't sync the folder of %s, errno=%d, cause: %s", target_.path(),
               os_log_errno,
               strerror(os_log_errno));  // NOLINT(concurrency-mt-unsafe)
    }
}
