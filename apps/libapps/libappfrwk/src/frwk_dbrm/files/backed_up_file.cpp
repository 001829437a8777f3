#include "frwk_dbrm/files/backed_up_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "frwk_dbrm/files/trusted_path.h"
#include "support/file_io.h"

namespace backed_up_file {

namespace {

constexpr int kOpenTarget = O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC;
constexpr int kOpenPresent = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
constexpr int kOpenNew = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

/* Whether this is the file's only name. */
bool has_one_name(const struct stat &file) {
    return S_ISREG(file.st_mode) && file.st_nlink == 1;
}

bool belongs_there(const struct stat &file, const struct stat &folder) {
    return file.st_uid == ::geteuid() || file.st_uid == 0 || file.st_uid == folder.st_uid;
}

/* Opens the file of the name for writing, if it is the folder's own. */
UniqueFd open_present(const Place &place, const struct stat &folder) {
    UniqueFd fd(::openat(place.folder.get(), place.name, kOpenPresent));
    struct stat found = {};
    const bool is_usable = fd && ::fstat(fd.get(), &found) == 0 && has_one_name(found) &&
                           belongs_there(found, folder) && ::ftruncate(fd.get(), 0) == 0;
    return is_usable ? std::move(fd) : UniqueFd();
}

/* Creates the file of the name instead of anything that has it. */
UniqueFd create_new(const Place &place, const struct stat &folder) {
    (void)::unlinkat(place.folder.get(), place.name, 0);
    UniqueFd fd(::openat(place.folder.get(), place.name, kOpenNew, kOwnerOnly));
    if (fd && folder.st_uid != ::geteuid()) {
        (void)!::fchown(fd.get(), folder.st_uid, folder.st_gid); /* root only */
    }
    return fd;
}

UniqueFd open_in_strange_folder(const Place &place) {
    struct stat folder = {};
    if (::fstat(place.folder.get(), &folder) != 0) {
        return UniqueFd();
    }
    UniqueFd present = open_present(place, folder);
    return present ? std::move(present) : create_new(place, folder);
}

}  // namespace

UniqueFile open_source(const char *path) {
    Place place;
    if (!find_place(path, LastLink::kFollow, &place)) {
        return UniqueFile();
    }
    if (place.is_closed) {
        return UniqueFile(std::fopen(path, "rbe"));
    }
    struct stat found = {};
    UniqueFd fd = file_io::open_regular_in(place.folder.get(), place.name, &found);
    if (fd && !has_one_name(found)) {
        errno = EPERM;
        return UniqueFile();
    }
    return open_stream(std::move(fd), "rb");
}

UniqueFd open_target(const char *path) {
    Place place;
    if (!find_place(path, LastLink::kFollow, &place)) {
        return UniqueFd();
    }
    return place.is_closed ? UniqueFd(::open(path, kOpenTarget, kOwnerOnly)) : open_in_strange_folder(place);
}

void give_new_folder_away(const char *path) {
    Place place;
    struct stat parent = {};
    if (!find_place(path, LastLink::kKeep, &place) || ::fstat(place.folder.get(), &parent) != 0 ||
        parent.st_uid == ::geteuid()) {
        return;
    }
    const UniqueFd folder(::openat(place.folder.get(), place.name, kOpenFolder));
    if (folder) {
        (void)!::fchown(folder.get(), parent.st_uid, parent.st_gid);
    }
}

void remove_target(const char *path) {
    Place place;
    if (!find_place(path, LastLink::kKeep, &place)) {
        return;
    }
    if (place.is_closed) {
        (void)std::remove(path);
        return;
    }
    (void)::unlinkat(place.folder.get(), place.name, 0);
}

bool is_behind_strange_link(const char *path) {
    Place place;
    return !find_place(path, LastLink::kFollow, &place) && errno == ELOOP;
}

}  // namespace backed_up_file
