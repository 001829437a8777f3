#include "frwk_dbrm/files/private_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "formats/device_paths.h"
#include "frwk_dbrm/files/trusted_path.h"
#include "internal/frwk_log.h"
#include "support/file_io.h"
#include "support/folder_stream.h"

namespace {

/* The parents in which the folder may be created, in order of preference. The second one is for root on a
 * device whose modules run as another user, who owns the other two. */
constexpr const char *kParents[] = {paths::kTempFolder, paths::kSharedTempFolder, paths::kUserFolder};

constexpr char kPrefix[] = "backup.private.";
constexpr char kRandom[] = "XXXXXX";
constexpr char kFileName[] = "backup";
constexpr size_t kNameLength = sizeof(kPrefix) - 1 + sizeof(kRandom) - 1;

/* The number of attempts if other processes remove the new folder as a leftover. */
constexpr int kAttempts = 10;

constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

void empty_folder(int folder) {
    const UniqueFolderStream stream = open_folder_stream(folder, ".");
    while (const char *name = next_name(stream)) {
        (void)::unlinkat(folder, name, 0); /* fails for "." and ".." */
    }
}

/* Removes a folder if it is a leftover: nobody holds its lock. */
void remove_leftover(int in, const char *name) {
    const UniqueFd fd(::openat(in, name, kOpenFolder));
    struct stat found = {};
    if (!fd || ::fstat(fd.get(), &found) != 0 || found.st_uid != ::geteuid() ||
        !file_io::lock(fd.get(), LOCK_EX | LOCK_NB)) {
        return;
    }
    empty_folder(fd.get());
    if (::unlinkat(in, name, AT_REMOVEDIR) == 0) {
        FRWK_NOTICE(__func__, "removed %s, which a killed process left", name);
    }
}

void remove_leftovers(const char *parent) {
    const UniqueFolderStream folder = open_folder_stream(AT_FDCWD, parent);
    while (const char *name = next_name(folder)) {
        if (std::strlen(name) == kNameLength && std::strncmp(name, kPrefix, sizeof(kPrefix) - 1) == 0) {
            remove_leftover(::dirfd(folder.get()), name);
        }
    }
}

bool has_room(const char *parent, uint64_t room) {
    struct statvfs found = {};
    if (::statvfs(parent, &found) != 0) {
        return false;
    }
    if (uint64_t{found.f_bavail} * found.f_frsize < room) {
        errno = ENOSPC;
        return false;
    }
    return true;
}

/* Whether no other user can replace a folder that is created at this path. */
bool is_safe(const char *path) {
    Place place;
    if (!find_place(path, LastLink::kKeep, &place)) {
        return false;
    }
    if (!place.keeps_ours) {
        errno = EPERM;
    }
    return place.keeps_ours;
}

}  // namespace

/* Locks the new folder, and checks that it still exists. */
PrivateFolder::Claim PrivateFolder::claim() {
    fd_.reset(::open(path_, kOpenFolder));
    if (!fd_) {
        return errno == ENOENT ? Claim::kCleared : Claim::kFailed;
    }
    struct stat found = {};
    if (!file_io::lock(fd_.get(), LOCK_EX) || ::fstat(fd_.get(), &found) != 0) {
        return Claim::kFailed;
    }
    return found.st_nlink != 0 ? Claim::kOurs : Claim::kCleared;
}

/* Creates a folder with a new name, and locks it. */
bool PrivateFolder::make_one(const char *parent) {
    for (int i = 0; i < kAttempts; ++i) {
        set_path(parent);
        if (::mkdtemp(path_) == nullptr) {
            return false;
        }
        const Claim claimed = claim();
        if (claimed == Claim::kOurs) {
            return true;
        }
        if (claimed == Claim::kFailed) {
            discard();
            return false;
        }
    }
    fd_.reset();
    errno = EAGAIN;
    return false;
}

void PrivateFolder::set_path(const char *parent) {
    (void)std::snprintf(path_, sizeof(path_), "%s/%s%s", parent, kPrefix, kRandom);
}

bool PrivateFolder::make_in(const char *parent, uint64_t room) {
    set_path(parent);
    if (!is_safe(path_) || !has_room(parent, room)) {
        return false;
    }
    if (!make_one(parent)) {
        return false;
    }
    (void)std::snprintf(file_, sizeof(file_), "%s/%s", path_, kFileName);
    return true;
}

void PrivateFolder::discard() {
    const int kept = errno;
    if (::rmdir(path_) != 0) {
        FRWK_WARN(__func__, "can't remove %s, errno=%d, cause: %s", path_, os_log_errno,
                  strerror(os_log_errno));  // NOLINT(concurrency-mt-unsafe)
    }
    fd_.reset();
    errno = kept;
}

PrivateFolder::~PrivateFolder() {
    if (fd_) {
        (void)::unlinkat(fd_.get(), kFileName, 0); /* even if there is no memory to list the others */
        empty_folder(fd_.get());
        discard();
    }
}

bool PrivateFolder::make(uint64_t room) {
    for (const char *parent : kParents) {
        set_path(parent);
        if (is_safe(path_)) { /* elsewhere, another user may have given the name to any folder */
            remove_leftovers(parent);
        }
    }
    for (const char *parent : kParents) {
        if (make_in(parent, room)) {
            return true;
        }
    }
    return false;
}
