/*
 * A path whose folder is held open, so that all that is done to its file is done in one folder, whatever
 * becomes of the names on the way to it. Any thread.
 */
#pragma once

#include "support/unique_fd.h"

class HeldPath {
  public:
    /* path: absolute, of a file or of nothing yet; outlives the object. False, with errno set, without its
     * folder. */
    explicit HeldPath(const char *path);

    explicit operator bool() const { return static_cast<bool>(folder_); }

    const char *path() const { return path_; }

    /* A descriptor that names are looked up in, and nothing else (O_PATH). */
    int folder() const { return folder_.get(); }

    /* The path's last part. */
    const char *name() const;

  private:
    const char *const path_;
    UniqueFd folder_;
};
