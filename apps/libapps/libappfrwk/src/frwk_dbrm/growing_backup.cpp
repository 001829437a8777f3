#include "frwk_dbrm/growing_backup.h"

#include <fcntl.h>
#include <libgen.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "frwk_dbrm/backup_io.h"

namespace {

constexpr char kSuffix[] = ".unfinished";

/* Whether what stands at a path, if anything, lets itself be written to. */
bool can_be_written(const char *path) {
    const UniqueFd present(::open(path, O_RDWR | O_CLOEXEC | O_NONBLOCK));
    return present || errno == ENOENT;
}

/* Makes a file's name outlast a power cut, where the file system can. */
void sync_folder_of(const char *path) {
    char folder[PATH_MAX];
    (void)std::snprintf(folder, sizeof(folder), "%s", path);
    const UniqueFd fd(::open(::dirname(folder), O_RDONLY | O_CLOEXEC | O_DIRECTORY));
    if (fd) {
        (void)::fsync(fd.get());
    }
}

}  // namespace

GrowingBackup::GrowingBackup(const char *target) : target_(target) {
    const int length = std::snprintf(path_, sizeof(path_), "%s%s", target, kSuffix);
    if (target[0] == '\0' || length < 0 || static_cast<size_t>(length) >= sizeof(path_)) {
        path_[0] = '\0'; /* of no target as well, which would else have its file in the working folder */
    }
}

GrowingBackup::~GrowingBackup() {
    if (!in_place_) {
        (void)::unlink(path_);
    }
}

UniqueFile GrowingBackup::create() const {
    if (path_[0] == '\0') {
        errno = target_[0] == '\0' ? ENOENT : ENAMETOOLONG;
        return UniqueFile();
    }
    if (!can_be_written(target_)) {
        return UniqueFile();
    }

    (void)::unlink(path_);
    UniqueFd fd(::open(path_, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    return backup_io::write_to(std::move(fd), "wb+");
}

bool GrowingBackup::take_place() {
    in_place_ = std::rename(path_, target_) == 0;
    if (in_place_) {
        sync_folder_of(target_);
    }
    return in_place_;
}
