#include "frwk_dbrm/files/backup_target.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "frwk_dbrm/format/backup_io.h"
#include "os_file.h"
#include "support/file_io.h"

namespace {

constexpr char kSuffix[] = ".unfinished";
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

}  // namespace

/* Whether the target is missing or can be opened for writing. */
bool BackupTarget::can_replace_target() const {
    const int follow = place_.is_closed ? 0 : O_NOFOLLOW;
    const UniqueFd present(
        ::openat(place_.folder.get(), place_.name, O_RDWR | O_CLOEXEC | O_NONBLOCK | follow));
    return present || errno == ENOENT;
}

bool BackupTarget::set_path_beside() {
    const int length = std::snprintf(path_, sizeof(path_), "%s%s", target_, kSuffix);
    if (length < 0 || static_cast<size_t>(length) >= sizeof(path_)) {
        path_[0] = '\0'; /* a truncated path may be that of another file */
        errno = ENAMETOOLONG;
        return false;
    }
    return true;
}

bool BackupTarget::find() {
    if (!find_place(target_, LastLink::kKeep, &place_)) {
        return false;
    }
    file_.emplace(place_.folder.get(), place_.name);
    return file_->name_beside(kSuffix) && set_path_beside() && can_replace_target();
}

UniqueFile BackupTarget::create_beside() {
    return backup_io::write_to(file_->create_beside(kSuffix) ? file_->take_fd() : UniqueFd(), "wb+");
}

UniqueFile BackupTarget::create_privately(uint64_t room) {
    if (!folder_.make(room)) {
        return UniqueFile();
    }
    (void)std::snprintf(path_, sizeof(path_), "%s", folder_.file());
    return backup_io::write_to(UniqueFd(::open(path_, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly)),
                               "wb+");
}

UniqueFile BackupTarget::create(uint64_t (*body_size)()) {
    if (!find()) {
        return UniqueFile();
    }
    return place_.is_closed ? create_beside() : create_privately(backup_io::room_for(body_size()));
}

bool BackupTarget::deliver() {
    if (place_.is_closed) {
        return true;
    }
    const UniqueFd from(::open(path_, O_RDONLY | O_CLOEXEC));
    struct stat info = {};
    return from && ::fstat(from.get(), &info) == 0 && file_->create_beside(kSuffix) &&
           backup_io::copy_bytes(from.get(), file_->fd(), static_cast<uint64_t>(info.st_size)) &&
           file_io::sync_where_possible(file_->fd());
}

/* The cipher, or deliver, has synced the content. A folder that can't be synced is no failure. */
bool BackupTarget::take_place() {
    return file_->replace_target(AtomicFile::Sync::kNames) != AtomicFile::Placed::kNo;
}

void BackupTarget::remove_target() const {
    if (place_.folder && os_file_exist(target_)) {
        (void)::unlinkat(place_.folder.get(), place_.name, 0);
    }
}
