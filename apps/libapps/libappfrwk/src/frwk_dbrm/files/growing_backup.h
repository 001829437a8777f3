/*
 * A backup that is being written. Until it is encrypted it contains secrets, so no other user may access it.
 * It is written to the target's folder, readable for its owner only. If another user could replace files
 * there, it is written to a private folder, from which only the encrypted backup is copied. When it is
 * complete it gets the target's name; otherwise the destructor removes it. The next backup to the same target
 * replaces the leftovers of a killed process.
 *
 * One thread, and one process at a time for one target.
 */
#pragma once

#include <climits>
#include <cstdint>

#include "frwk_dbrm/files/private_folder.h"
#include "frwk_dbrm/files/trusted_path.h"
#include "support/unique_fd.h"

class GrowingBackup {
  public:
    /* target: must outlive the object. */
    explicit GrowingBackup(const char *target);
    ~GrowingBackup();
    GrowingBackup(const GrowingBackup &) = delete;
    GrowingBackup &operator=(const GrowingBackup &) = delete;

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

    const char *path() const { return path_; }

  private:
    UniqueFd create_unfinished() const;
    UniqueFile create_privately(uint64_t room);
    bool can_replace_target() const;
    void sync_folder() const;

    const char *const target_;
    Place place_;                  /* the target; has no folder until it was found */
    char name_[NAME_MAX + 1] = ""; /* the name of the unfinished file in the target's folder */
    PrivateFolder folder_;
    bool in_place_ = false;
    char path_[PATH_MAX] = "";
};
