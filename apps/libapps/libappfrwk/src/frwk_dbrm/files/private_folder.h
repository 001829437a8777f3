/*
 * A private folder of the caller, for one file that other users must not access. The destructor removes the
 * folder and everything in it. If a killed process leaves one, the next process that creates such a folder
 * removes it.
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
     * Creates the folder on tmpfs, so that unencrypted data never reaches a disk. If that has less than room
     * bytes left, creates it on the device's disk, where the settings are unencrypted anyway. Skips a parent
     * in which another user could rename or remove the folder. Returns false, with errno set, on failure.
     */
    bool make(uint64_t room);

    /* The path of the file, which the caller creates. No other user can change a folder in this path. */
    const char *file() const { return file_; }

  private:
    enum class Claim {
        kOurs,
        kCleared, /* another process removed it as a leftover */
        kFailed
    };

    void set_path(const char *parent);
    Claim claim();
    bool make_one(const char *parent);
    bool make_in(const char *parent, uint64_t room);
    void discard();

    char path_[64] = "";
    char file_[80] = "";
    UniqueFd fd_; /* locked while the folder is in use */
};
