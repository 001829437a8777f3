#include "frwk_dbrm/files/backup_file.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frwk_dbrm/format/backup_io.h"
#include "internal/frwk_log.h"
#include "support/file_io.h"

namespace {

constexpr mode_t kAccessBits = 07777;
constexpr mode_t kOthersAccess = S_IRWXG | S_IRWXO;
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;

/* Whether nobody but the caller and root can write to a file. */
bool is_own(const struct stat &info) {
    return info.st_uid == ::geteuid() && (info.st_mode & kOthersWrite) == 0;
}

}  // namespace

/* Removes the permissions of others before the decryption. Returns false if the file system has none. */
bool BackupFile::hide() {
    if ((info_.st_mode & kOthersAccess) == 0) {
        return true;
    }
    struct stat hidden = {};
    is_hidden_ = ::fchmod(fd_.get(), info_.st_mode & kAccessBits & ~kOthersAccess) == 0;
    return is_hidden_ && ::fstat(fd_.get(), &hidden) == 0 && (hidden.st_mode & kOthersAccess) == 0;
}

bool BackupFile::copy_aside() {
    const auto size = static_cast<uint64_t>(info_.st_size);
    if (!folder_.make(backup_io::room_for(size))) {
        return false;
    }
    const UniqueFd copy(::open(folder_.file(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!copy || !backup_io::copy_bytes(fd_.get(), copy.get(), size)) {
        return false;
    }
    (void)std::snprintf(file_, sizeof(file_), "%s", folder_.file());
    is_copied_ = true;
    return true;
}

bool BackupFile::open() {
    if (!find_place(path_, LastLink::kFollow, &place_)) {
        return false;
    }
    fd_ = file_io::open_regular_in(place_.folder.get(), place_.name, &info_);
    if (!fd_) {
        return false;
    }
    const bool is_safe = place_.is_closed && is_own(info_) && hide();
    return is_safe ? ::realpath(path_, file_) != nullptr : copy_aside();
}

void BackupFile::refuse() {
    if (is_hidden_) {
        (void)::fchmod(fd_.get(), info_.st_mode & kAccessBits);
    }
}

/* Whether another file has the name now, which must not be removed. */
bool BackupFile::was_replaced() const {
    struct stat found = {};
    return ::fstatat(place_.folder.get(), place_.name, &found, AT_SYMLINK_NOFOLLOW) == 0 &&
           (found.st_dev != info_.st_dev || found.st_ino != info_.st_ino);
}

void BackupFile::remove() {
    if (is_copied_ && was_replaced()) {
        FRWK_WARN(log_name::kDbrmRestoreProcess,
                  "the restore file was replaced meanwhile, what is there now stays");
    } else if (::unlinkat(place_.folder.get(), place_.name, 0) != 0) {
        FRWK_WARN_ERRNO(log_name::kDbrmRestoreProcess, "remove restore file error!");
    }
    if (place_.is_behind_a_link && std::remove(path_) != 0) {
        FRWK_WARN_ERRNO(log_name::kDbrmRestoreProcess, "remove restore file error!");
    }
}
