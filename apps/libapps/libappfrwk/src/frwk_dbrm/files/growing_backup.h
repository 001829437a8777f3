/*
 * A backup that grows out of everybody's reach, since it holds secrets in the clear, and takes its target's
 * name when it is whole: beside its target, readable by nobody else; or, where another user could put
 * something in its place there, in a private folder, from which only the enciphered backup is copied. It is
 * gone at the end of its scope unless it took the name. What a killed process left of one is replaced by the
 * next one for the same target.
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
    /* target: lives as long as this. */
    explicit GrowingBackup(const char *target);
    ~GrowingBackup();
    GrowingBackup(const GrowingBackup &) = delete;
    GrowingBackup &operator=(const GrowingBackup &) = delete;

    /*
     * Creates the file, to write to. body_size: tells how large it may become.
     * Nothing, with errno set, where the target could not be written to.
     */
    UniqueFile create(uint64_t (*body_size)());

    /* Brings the finished file to its target's folder. False, with errno set, when that fails. */
    bool deliver();

    /* Gives it the target's name, on the disk as well. False, with errno set, when that fails. */
    bool take_place();

    /* Removes what is at the target, unless it is a folder. */
    void remove_target() const;

    const char *path() const { return path_; }

  private:
    UniqueFd create_unfinished() const;
    UniqueFile create_privately(uint64_t room);
    bool can_replace_target() const;
    void sync_folder() const;

    const char *const target_;
    Place place_;                  /* the target's; without a folder as long as it is not known */
    char name_[NAME_MAX + 1] = ""; /* the unfinished file's, in the target's folder */
    PrivateFolder folder_;
    bool in_place_ = false;
    char path_[PATH_MAX] = "";
};
