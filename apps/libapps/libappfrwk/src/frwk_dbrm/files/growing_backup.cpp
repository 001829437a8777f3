#include "frwk_dbrm/files/growing_backup.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "frwk_dbrm/format/backup_io.h"
#include "os_file.h"

namespace {

constexpr char kSuffix[] = ".unfinished";
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

/* Makes the name of the unfinished file. Returns false, with errno set, if it is too long. */
template <size_t kSize>
bool add_suffix(const char *name, char (&longer)[kSize]) {
    const int length = std::snprintf(longer, kSize, "%s%s", name, kSuffix);
    if (length < 0 || static_cast<size_t>(length) >= kSize) {
        longer[0] = '\0'; /* a truncated name may be that of another file */
        errno = ENAMETOOLONG;
        return false;
    }
    return true;
}

}  // namespace

GrowingBackup::GrowingBackup(const char *target) : target_(target) {}

GrowingBackup::~GrowingBackup() {
    if (place_.folder && !in_place_) {
        (void)::unlinkat(place_.folder.get(), name_, 0);
    }
}

/* Whether the target can be replaced: it doesn't exist, or can be opened for writing. */
bool GrowingBackup::can_replace_target() const {
    const int follow = place_.is_closed ? 0 : O_NOFOLLOW;
    const UniqueFd present(
        ::openat(place_.folder.get(), place_.name, O_RDWR | O_CLOEXEC | O_NONBLOCK | follow));
    return present || errno == ENOENT;
}

/* Replaces a file that a killed process left. */
UniqueFd GrowingBackup::create_unfinished() const {
    const int folder = place_.folder.get();
    (void)::unlinkat(folder, name_, 0);
    return UniqueFd(::openat(folder, name_, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly));
}

UniqueFile GrowingBackup::create_privately(uint64_t room) {
    if (!folder_.make(room)) {
        return UniqueFile();
    }
    (void)std::snprintf(path_, sizeof(path_), "%s", folder_.file());
    return backup_io::write_to(UniqueFd(::open(path_, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly)),
                               "wb+");
}

UniqueFile GrowingBackup::create(uint64_t (*body_size)()) {
    if (!find_place(target_, LastLink::kKeep, &place_) || !add_suffix(place_.name, name_) ||
        !add_suffix(target_, path_) || !can_replace_target()) {
        return UniqueFile();
    }
    return place_.is_closed ? backup_io::write_to(create_unfinished(), "wb+")
                            : create_privately(backup_io::room_for(body_size()));
}

bool GrowingBackup::deliver() {
    if (place_.is_closed) {
        return true;
    }
    const UniqueFd from(::open(path_, O_RDONLY | O_CLOEXEC));
    struct stat info = {};
    if (!from || ::fstat(from.get(), &info) != 0) {
        return false;
    }
    const UniqueFd to = create_unfinished();
    return to && backup_io::copy_bytes(from.get(), to.get(), static_cast<uint64_t>(info.st_size)) &&
           backup_io::sync(to.get());
}

/* Ignores file systems that can't sync a folder. */
void GrowingBackup::sync_folder() const {
    const UniqueFd fd(::openat(place_.folder.get(), ".", O_RDONLY | O_CLOEXEC | O_DIRECTORY));
    if (fd) {
        (void)::fsync(fd.get());
    }
}

bool GrowingBackup::take_place() {
    const int folder = place_.folder.get();
    in_place_ = ::renameat(folder, name_, folder, place_.name) == 0;
    if (in_place_) {
        sync_folder();
    }
    return in_place_;
}

void GrowingBackup::remove_target() const {
    if (place_.folder && os_file_exist(target_)) {
        (void)::unlinkat(place_.folder.get(), place_.name, 0);
    }
}
