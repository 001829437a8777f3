#include "support/locked_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "support/file_io.h"
#include "support/folder_stream.h"

namespace {

constexpr char kRandom[] = "XXXXXX";
constexpr size_t kRandomLength = sizeof(kRandom) - 1;

/* The number of attempts if other processes remove the new file as a leftover. */
constexpr int kAttempts = 10;

enum class Claim {
    kOurs,
    kCleared, /* another process removed it as a leftover */
    kFailed
};

/* Removes a file if it is a leftover: nobody holds its lock. */
void remove_leftover(int folder, const char *name, LeftoverRemoved removed) {
    struct stat found;
    const UniqueFd fd = file_io::open_regular_in(folder, name, &found);
    if (!fd || !file_io::lock(fd.get(), LOCK_EX | LOCK_NB)) {
        return;
    }
    if (unlinkat(folder, name, 0) == 0) {
        removed(name);
    }
}

/* name: the name of a new file; its random letters are ignored. */
bool is_like(const char *candidate, const char *name) {
    const size_t length = strlen(name);
    return strlen(candidate) == length && strncmp(candidate, name, length - kRandomLength) == 0;
}

void remove_leftovers(int folder, const char *name, LeftoverRemoved removed) {
    const UniqueFolderStream names = open_folder_stream(folder, ".");
    while (const char *candidate = next_name(names)) {
        if (is_like(candidate, name)) {
            remove_leftover(folder, candidate, removed);
        }
    }
}

Claim claim(int fd) {
    struct stat found;
    if (!file_io::lock(fd, LOCK_EX) || fchmod(fd, S_IRUSR | S_IWUSR) != 0 || fstat(fd, &found) != 0) {
        return Claim::kFailed;
    }
    return found.st_nlink != 0 ? Claim::kOurs : Claim::kCleared;
}

/* Chooses letters that are probably unused. They need not be unpredictable: the file must not exist yet. */
void draw_letters(char *letters) {
    constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    constexpr uint64_t kFactor = 6364136223846793005; /* spreads a difference of its first bits to the last */
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

/* Creates a file and locks it. kCleared: another name may succeed. */
Claim try_to_make(int folder, const char *name, UniqueFd *fd) {
    fd->reset(openat(folder, name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!*fd) {
        return errno == EEXIST ? Claim::kCleared : Claim::kFailed;
    }
    const Claim claimed = claim(fd->get());
    if (claimed == Claim::kFailed) {
        const int kept = errno;
        (void)unlinkat(folder, name, 0);
        errno = kept;
        fd->reset();
    }
    return claimed;
}

}  // namespace

UniqueFd make_locked_file(int folder, const char *kind, char *name, size_t size, LeftoverRemoved removed) {
    const int length = snprintf(name, size, "%s.unfinished.%s", kind, kRandom);
    char *random = name + length - kRandomLength;
    remove_leftovers(folder, name, removed);

    Claim claimed = Claim::kCleared;
    UniqueFd fd;
    for (int i = 0; i < kAttempts && claimed == Claim::kCleared; ++i) {
        draw_letters(random);
        claimed = try_to_make(folder, name, &fd);
    }
    if (claimed == Claim::kOurs) {
        return fd;
    }
    if (claimed == Claim::kCleared) {
        errno = EAGAIN;
    }
    name[0] = '\0';
    return UniqueFd();
}
