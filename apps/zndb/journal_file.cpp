#include "journal_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "formats/device_paths.h"
#include "internal/planted.h"

namespace {

constexpr mode_t kFolderRights = 0755;
constexpr mode_t kFileRights = 0600;

void set_aside(const std::string &path) {
    (void)set_aside_planted(path.c_str(), FolderOwner::kStranger);
}

/* Checks that an open file belongs to the service, and narrows its mode. Returns 0 or an errno value. */
int keep_own(int fd, const std::string &path, mode_t rights) {
    struct stat found = {};
    if (::fstat(fd, &found) != 0) {
        return errno;
    }
    if (is_planted(path.c_str(), found, FolderOwner::kStranger)) {
        return EPERM;
    }
    return narrow_rights(fd, found, rights) ? 0 : errno;
}

}  // namespace

int make_journal_folder(const std::string &path) {
    const std::string folder = path.substr(0, path.rfind('/'));
    set_aside(folder);
    const int error = make_folder_of(path);
    if (error != 0) {
        return error;
    }

    // A link that was not set aside belongs to the device.
    const UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd ? keep_own(fd.get(), folder, kFolderRights) : errno;
}

int open_journal_file(const std::string &path, int flags, UniqueFd &fd) {
    set_aside(path);
    set_aside(path + paths::kTemporarySuffix);
    UniqueFd opened;
    int error = open_file(path, flags | O_NOFOLLOW, opened);
    if (error == 0) {
        error = keep_own(opened.get(), path, kFileRights);
    }
    if (error == 0) {
        fd = std::move(opened);
    }
    return error;
}
