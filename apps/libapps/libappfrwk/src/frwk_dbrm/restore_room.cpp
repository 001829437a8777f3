#include "frwk_dbrm/restore_room.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "formats/check_line.h"
#include "formats/device_paths.h"
#include "frwk_dbrm/format/backup_format.h"
#include "frwk_dbrm/saved_store.h"
#include "internal/frwk_log.h"
#include "os_mem.h"
#include "support/file_io.h"

using backup_format::RecordHeader;
using backup_format::RecordHeaderBytes;

namespace {

constexpr uint64_t kBlockUnit = 512; /* of st_blocks, whatever the file system's own is */
constexpr size_t kPieceSize = 4096;
constexpr size_t kPathRoom = 128; /* the longest one has 40 characters */

/* What a line of the journal has more than one of the file: the letter of the store and the change. */
constexpr uint64_t kJournalExtra = 2;

/* The free space for a file that the database is going to replace. */
struct Space {
    dev_t device = 0;
    uint64_t block = 0; /* 0 if the space is unknown, or has no limit */
    uint64_t free = 0;

    uint64_t rounded(uint64_t size) const { return (size + block - 1) / block * block; }
};

/* The space of a file on its disk. */
uint64_t space_of(const struct stat &file) {
    return static_cast<uint64_t>(file.st_blocks) * kBlockUnit;
}

/* The space of a file that has no other name. */
uint64_t space_of_last_name(const char *path) {
    struct stat found = {};
    const bool is_last = ::lstat(path, &found) == 0 && S_ISREG(found.st_mode) && found.st_nlink == 1;
    return is_last ? space_of(found) : 0;
}

/*
 * The space that is free when a file is empty: the database keeps a damaged file, and gives up the file
 * before the last save for want of space.
 */
uint64_t freed_by(const char *file) {
    char previous[kPathRoom];
    (void)std::snprintf(previous, sizeof(previous), "%s%s", file, paths::kPreviousSuffix);
    return space_of_last_name(previous) + (backup::is_damaged(file) ? 0 : space_of_last_name(file));
}

/* What the perm store, which is saved with the emptied settings, may add to its disk. */
uint64_t growth_of_perm_store() {
    struct stat found = {};
    const bool is_kept = ::stat(paths::kPermFile, &found) == 0 && backup::is_damaged(paths::kPermFile);
    return (is_kept ? space_of(found) : 0) + backup::unsaved_bytes(StoreId::kPerm);
}

bool is_on(const Space &space, const char *folder) {
    struct stat place = {};
    return space.block != 0 && ::stat(folder, &place) == 0 && place.st_dev == space.device;
}

Space space_for(const char *file, const char *folder) {
    struct stat place = {};
    struct statvfs found = {};
    if (::stat(folder, &place) != 0 || ::statvfs(folder, &found) != 0 || found.f_blocks == 0) {
        return Space();
    }
    const uint64_t blocks = ::geteuid() == 0 ? found.f_bfree : found.f_bavail;
    return {place.st_dev, found.f_frsize, blocks * found.f_frsize + freed_by(file)};
}

bool has_room(const char *file, const Space &space, uint64_t size) {
    if (space.block == 0 || space.rounded(size) <= space.free) {
        return true;
    }
    FRWK_WARN(log_name::kDbrmRestore, "no space for the settings: '%s' needs %llu bytes, %llu are free!",
              file, static_cast<unsigned long long>(size), static_cast<unsigned long long>(space.free));
    return false;
}

/* length: bytes of the database's text, and lines: at most as many lines. */
bool has_room_for_text(uint64_t length, uint64_t lines) {
    Space file = space_for(paths::kPlainFile, paths::kUserDatabaseFolder);
    if (is_on(file, paths::kPermanentDatabaseFolder)) {
        file.free -= std::min(file.free, file.rounded(growth_of_perm_store()));
    }
    const Space journal = space_for(paths::kPlainJournal, paths::kJournalFolder);
    const uint64_t file_size = length + kCheckLineRoom;
    const uint64_t journal_size = length + lines * kJournalExtra;
    if (file.block != 0 && file.device == journal.device) {
        return has_room(paths::kPlainFile, file, file.rounded(file_size) + journal_size);
    }
    return has_room(paths::kPlainFile, file, file_size) &&
           has_room(paths::kPlainJournal, journal, journal_size);
}

/* Counts the line ends in the next bytes of a file. */
uint64_t count_line_ends(int fd, uint64_t length) {
    uint64_t found = 0;
    char piece[kPieceSize];
    size_t count = 1;
    for (uint64_t left = length; left > 0 && count > 0; left -= count) {
        const size_t size = static_cast<size_t>(std::min<uint64_t>(left, sizeof(piece)));
        (void)file_io::read_up_to(fd, piece, size, &count);
        found += static_cast<uint64_t>(
            std::count_if(piece, piece + count, [](char each) { return each == '\n' || each == '\r'; }));
    }
    return found;
}

/* Whether a body has all bytes of its first record: the restore itself reports one that is cut short. */
bool has_all_bytes(int fd, const RecordHeader &record) {
    struct stat found = {};
    return ::fstat(fd, &found) == 0 &&
           static_cast<uint64_t>(found.st_size) >= sizeof(RecordHeaderBytes) + uint64_t{record.length};
}

}  // namespace

apps_err_e_type backup::check_room_for_settings(const char *path) {
    const UniqueFd fd(file_io::open_for_reading(path));
    RecordHeaderBytes bytes;
    size_t count = 0;
    if (!fd || !file_io::read_up_to(fd.get(), bytes.data(), bytes.size(), &count) || count < bytes.size()) {
        return E_APPS_ERR_SUCCESS;
    }
    const RecordHeader record = backup_format::record_header_from(bytes);
    if (record.type != FRWK_DBRM_DATA_DB || record.length == 0) {
        return E_APPS_ERR_SUCCESS;
    }
    if (record.length >= OS_MEM_BLOCK_MAX && has_all_bytes(fd.get(), record)) {
        FRWK_WARN(log_name::kDbrmRestore, "the settings have %u bytes, %u can be restored!", record.length,
                  OS_MEM_BLOCK_MAX - 1);
        return E_APPS_ERR_MALLOC;
    }
    return has_room_for_text(record.length, count_line_ends(fd.get(), record.length) + 1)
               ? E_APPS_ERR_SUCCESS
               : E_APPS_ERR_NOSPACE;
}
