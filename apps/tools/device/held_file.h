/*
 * A file by its folder, which is held open, and its name there: whatever becomes of the names on the way, all
 * that is done to the file is done in one folder. A link that another user could have put on the way is not
 * followed.
 */
#pragma once

#include <string>

#include "frwk_dbrm/files/trusted_path.h"

class HeldFile {
  public:
    /* path: of a file, or of nothing yet. */
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
