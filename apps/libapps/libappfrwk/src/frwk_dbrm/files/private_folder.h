/*
 * A folder of the caller's alone, for one file that must not lie where other users read or write. It is gone
 * with all that is in it at the end of its scope; what a killed process left is removed by the next one that
 * makes such a folder.
 *
 * One thread at a time for an object; any number of processes.
 */
#pragma once

#include <cstdint>

#include "support/unique_fd.h"

class PrivateFolder {
  public:
    PrivateFolder() = default;
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder &) = delete;
    PrivateFolder &operator=(const PrivateFolder &) = delete;

    /*
     * Makes the folder: on tmpfs, where what is in the clear never reaches a disk, or, where that has not so
     * many bytes left, on the device's own disk, where the settings lie anyway. Returns false, with errno
     * set.
     */
    bool make(uint64_t room);

    /* The path of the one file, which the caller makes. On the way to it no other user can change a name. */
    const char *file() const { return file_; }

  private:
    enum class Claim {
        kOurs,
        kCleared, /* another process took it for a leftover */
        kFailed
    };

    void set_path(const char *parent);
    Claim claim();
    bool make_one(const char *parent);
    bool make_in(const char *parent, uint64_t room);
    void discard();

    char path_[64] = "";
    char file_[80] = "";
    UniqueFd fd_; /* locked as long as the folder is in use */
};
