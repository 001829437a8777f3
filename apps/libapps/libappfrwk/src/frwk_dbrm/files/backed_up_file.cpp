#include "frwk_dbrm/files/backed_up_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "frwk_dbrm/files/trusted_path.h"
#include "support/file_io.h"
#include "support/folder_stream.h"

namespace backed_up_file {

namespace {

constexpr int kOpenTarget = O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC;
constexpr int kOpenPresent = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
constexpr int kOpenNew = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
constexpr mode_t kAccess = S_IRWXU | S_IRWXG | S_IRWXO;

/* Whether this is the file's only name. */
bool has_one_name(const struct stat &file) {
    return S_ISREG(file.st_mode) && file.st_nlink == 1;
}

/* Whether the folder's owner may read a file. The owner may have moved any file of the disk into the folder.
 */
bool is_readable_there(const struct stat &file, const struct stat &folder) {
    return file.st_uid == folder.st_uid || (file.st_mode & S_IROTH) != 0;
}

/* A file that has the name already. */
struct Present {
    UniqueFd fd;
    struct stat info = {};
};

Present open_present(const Place &place) {
    Present present;
    present.fd.reset(::openat(place.folder.get(), place.name, kOpenPresent));
    if (present.fd && (::fstat(present.fd.get(), &present.info) != 0 || !has_one_name(present.info))) {
        present.fd.reset();
    }
    return present;
}

/* The mode of the file that replaces one of root or the caller, or anything else. */
mode_t mode_after(const Present &present) {
    const bool is_ours = present.fd && (present.info.st_uid == 0 || present.info.st_uid == ::geteuid());
    return is_ours ? present.info.st_mode & kAccess : kOwnerOnly;
}

/* Creates the file of the name instead of anything that has it. */
UniqueFd create_new(const Place &place, const struct stat &folder, mode_t mode) {
    (void)::unlinkat(place.folder.get(), place.name, 0);
    UniqueFd fd(::openat(place.folder.get(), place.name, kOpenNew, kOwnerOnly));
    if (fd && folder.st_uid != ::geteuid()) {
        (void)!::fchown(fd.get(), folder.st_uid, folder.st_gid); /* root only */
    }
    if (fd && mode != kOwnerOnly) {
        (void)!::fchmod(fd.get(), mode);
    }
    return fd;
}

/* Writes to no file of another owner than the folder's: it may be one that the folder's owner moved there. */
UniqueFd open_in_strange_folder(const Place &place) {
    struct stat folder = {};
    if (::fstat(place.folder.get(), &folder) != 0) {
        return UniqueFd();
    }
    Present present = open_present(place);
    const bool is_theirs = present.fd && present.info.st_uid == folder.st_uid;
    if (is_theirs && ::ftruncate(present.fd.get(), 0) == 0) {
        return std::move(present.fd);
    }
    return create_new(place, folder, mode_after(present));
}

bool is_empty(int folder) {
    const UniqueFolderStream stream = open_folder_stream(folder, ".");
    const char *name = stream ? "." : nullptr;
    while (name != nullptr && (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)) {
        name = next_name(stream);
    }
    return stream && name == nullptr;
}

}  // namespace

UniqueFile open_source(const char *path, Source source) {
    Place place;
    if (!find_place(path, LastLink::kFollow, &place)) {
        return UniqueFile();
    }
    if (place.is_closed) {
        return UniqueFile(std::fopen(path, "rbe"));
    }
    struct stat folder = {};
    struct stat found = {};
    UniqueFd fd = file_io::open_regular_in(place.folder.get(), place.name, &found);
    if (!fd || ::fstat(place.folder.get(), &folder) != 0) {
        return UniqueFile();
    }
    if (!has_one_name(found) || (source == Source::kOfFolderOwner && !is_readable_there(found, folder))) {
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
    if (folder && is_empty(folder.get())) { /* another one may have been moved to its name meanwhile */
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
