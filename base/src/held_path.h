/*
 * A path whose folder is kept open, so that all operations on its file use the same folder, even if somebody
 * renames or replaces a folder above it. Any thread.
 */
#pragma once

#include "support/unique_fd.h"

class HeldPath {
  public:
    /* path: absolute; the file need not exist; must outlive the object. The object is false, with errno set,
     * if the folder can't be opened. */
    explicit HeldPath(const char *path);

    explicit operator bool() const { return static_cast<bool>(folder_); }

    const char *path() const { return path_; }

    /* A descriptor of the folder, only for looking up names (O_PATH). */
    int folder() const { return folder_.get(); }

    /* The path's last part. */
    const char *name() const;

  private:
    const char *const path_;
    UniqueFd folder_;
};
