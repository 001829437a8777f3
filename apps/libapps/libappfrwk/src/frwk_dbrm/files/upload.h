/*
 * A backup that somebody put where a restore is to take it from. It is opened once. Where another user could
 * change it, or what its name stands for, a copy in a private folder takes its place, so that what was
 * checked is what is restored, and nobody else can read it in the clear; the file itself then stays
 * enciphered.
 *
 * One thread at a time.
 */
#pragma once

#include <sys/stat.h>

#include <climits>

#include "frwk_dbrm/files/private_folder.h"
#include "frwk_dbrm/files/trusted_path.h"
#include "support/unique_fd.h"

class Upload {
  public:
    /* path: lives as long as this. */
    explicit Upload(const char *path) : path_(path) {}
    Upload(const Upload &) = delete;
    Upload &operator=(const Upload &) = delete;

    /* Finds the backup. Returns false, with errno set, when it can't be taken. */
    bool open();

    /* The path of the file to decipher and read, which no other user can write, nor read once it is open. */
    const char *file() const { return file_; }

    /* It could not be deciphered: gives it the access rights that it came with. */
    void refuse();

    /* Removes it, and the link that led to it. A failure is logged. */
    void remove();

  private:
    bool hide();
    bool copy_aside();
    bool was_replaced() const;

    const char *const path_;
    Place place_;
    UniqueFd fd_;
    struct stat info_ = {}; /* as it came */
    bool is_hidden_ = false;
    bool is_copied_ = false;
    PrivateFolder folder_;
    char file_[PATH_MAX] = "";
};
