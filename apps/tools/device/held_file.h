/*
 * A file, given by its folder, which is kept open, and its name. So all operations use the same folder, even
 * if somebody renames or replaces a folder above it. Links that another user could have created are not
 * followed.
 */
#pragma once

#include <string>

#include "frwk_dbrm/files/trusted_path.h"

class HeldFile {
  public:
    /* path: the file, which need not exist. */
    explicit HeldFile(const std::string &path);

    /* Opens it by openat. A link of that name is not followed. -1 with errno set. */
    int open(int flags) const;

    /* 0, or the errno value that says why there is no folder. */
    int error() const { return error_; }

    /* What its name is looked up in; -1 without a folder. */
    int folder() const { return place_.folder.get(); }

    /* Its name in the folder. */
    const char *name() const { return place_.name; }

  private:
    Place place_;
    int error_ = 0;
};
