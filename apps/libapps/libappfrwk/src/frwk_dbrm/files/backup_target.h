/*
 * The target of a backup that is being written. Until the backup is encrypted it contains secrets, so no
 * other user may access it. It is written to the target's folder, readable for its owner only. If another
 * user could replace files there, it is written to a private folder, from which only the encrypted backup is
 * copied. When it is complete it gets the target's name; otherwise the destructor removes it. The next backup
 * to the same target replaces the leftovers of a killed process.
 *
 * One thread, and one process at a time for one target.
 */
#pragma once

#include <climits>
#include <cstdint>
#include <optional>

#include "frwk_dbrm/files/private_folder.h"
#include "frwk_dbrm/files/trusted_path.h"
#include "support/atomic_file.h"
#include "support/unique_fd.h"

class BackupTarget {
  public:
    /* target: must outlive the object. */
    explicit BackupTarget(const char *target) : target_(target) {}
    BackupTarget(const BackupTarget &) = delete;
    BackupTarget &operator=(const BackupTarget &) = delete;

    /*
     * Creates the file and returns it for writing. body_size: returns its maximum size in bytes.
     * Owns nothing, with errno set, if the target could not be written.
     */
    UniqueFile create(uint64_t (*body_size)());

    /* Copies the finished file to the target's folder if necessary. Returns false, with errno set, on
     * failure. */
    bool deliver();

    /* Renames the file to the target and syncs. Returns false, with errno set, on failure. */
    bool take_place();

    /* Removes the target, unless it is a folder. */
    void remove_target() const;

    /* The path of the unfinished backup. */
    const char *path() const { return path_; }

  private:
    bool set_path_beside();
    bool find();
    UniqueFile create_beside();
    UniqueFile create_privately(uint64_t room);
    bool can_replace_target() const;

    const char *const target_;
    Place place_; /* the target; has no folder until it was found */
    PrivateFolder folder_;
    std::optional<AtomicFile> file_; /* in the target's folder; empty until the target was found */
    char path_[PATH_MAX] = "";
};
