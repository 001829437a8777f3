/*
 * A backup that is to be restored. The file is opened once. If another user could change or replace it, it is
 * copied to a private folder, and the copy is checked, decrypted and restored. So nobody can change the data
 * after the check, or read it unencrypted; the file itself then stays encrypted.
 *
 * One thread at a time.
 */
#pragma once

#include <sys/stat.h>

#include <climits>

#include "frwk_dbrm/files/private_folder.h"
#include "frwk_dbrm/files/trusted_path.h"
#include "support/unique_fd.h"

class BackupFile {
  public:
    /* path: must outlive the object. */
    explicit BackupFile(const char *path) : path_(path) {}
    BackupFile(const BackupFile &) = delete;
    BackupFile &operator=(const BackupFile &) = delete;

    /* Opens the backup, or copies it. Returns false, with errno set, on failure. */
    bool open();

    /* The path of the file to decrypt and read. No other user can write it, or read it after open(). */
    const char *file() const { return file_; }

    /* Restores the file's original permissions after its decryption failed. */
    void refuse();

    /* Removes the file, and a link that led to it. Logs a failure. */
    void remove();

  private:
    bool hide();
    bool copy_aside();
    bool was_replaced() const;

    const char *const path_;
    Place place_;
    UniqueFd fd_;
    struct stat info_ = {}; /* the original owner and permissions */
    bool is_hidden_ = false;
    bool is_copied_ = false;
    PrivateFolder folder_;
    char file_[PATH_MAX] = "";
};
