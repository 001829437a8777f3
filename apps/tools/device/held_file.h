/*
 * A file by its folder, which is held open, and its name there: whatever becomes of the names on the way, all
 * that is done to the file is done in one folder. A link that another user could have put on the way is not
 * followed.
 */
#pragma once

#include <sys/types.h>

#include <string>

#include "frwk_dbrm/files/trusted_path.h"

class HeldFile {
  public:
    /* path: of a file, or of nothing yet. */
    explicit HeldFile(const std::string &path);

    /* Opens it, or the name with a suffix, by openat. A link of that name is not followed. -1 with errno set.
     */
    int open(int flags, mode_t mode = 0, const std::string &suffix = "") const;

    /* Gives what has the name with the suffix its own name. False, with errno set, when that fails. */
    bool replace_by(const std::string &suffix) const;

    /* Removes what has the name with the suffix. */
    void remove(const std::string &suffix) const;

  private:
    Place place_;
    int error_ = 0; /* why there is no folder */
};
