/*
 * A backup that grows beside its target, readable by nobody else since it holds secrets in the clear, and is
 * gone at the end of its scope unless it took the target's name. What a killed process left of one is
 * replaced by the next one for the same target.
 *
 * One thread, and one process at a time for one target.
 */
#pragma once

#include <climits>

#include "internal/owned.h"

class GrowingBackup {
  public:
    /* target: lives as long as this. */
    explicit GrowingBackup(const char *target);
    ~GrowingBackup();
    GrowingBackup(const GrowingBackup &) = delete;
    GrowingBackup &operator=(const GrowingBackup &) = delete;

    /* Creates the file, to write to. Nothing, with errno set, where the target could not be written to. */
    UniqueFile create() const;

    /* Gives it the target's name, on the disk as well. False, with errno set, when that fails. */
    bool take_place();

    const char *path() const { return path_; }

  private:
    const char *const target_;
    bool in_place_ = false;
    char path_[PATH_MAX]; /* empty when it would be too long, and without a target */
};
