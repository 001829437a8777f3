/*
 * A file, given by its folder, which is kept open, and its name. So all operations use the same folder, even
 * if somebody renames or replaces a folder above it. Links that another user could have created are not
 * followed.
 */
#pragma once

#include <sys/types.h>

#include <string>

#include "frwk_dbrm/files/trusted_path.h"

class HeldFile {
  public:
    /* path: the file, which need not exist. */
    explicit HeldFile(const std::string &path);

    /* Opens the file, or its name with a suffix, with openat. Does not follow a link. Returns -1, with errno
     * set, on failure. */
    int open(int flags, mode_t mode = 0, const std::string &suffix = "") const;

    /* Renames the file with the suffix to the name without it. Returns false, with errno set, on failure. */
    bool replace_by(const std::string &suffix) const;

    /* Removes the file with the suffix. */
    void remove(const std::string &suffix) const;

  private:
    Place place_;
    int error_ = 0; /* errno value if the folder can't be opened */
};
