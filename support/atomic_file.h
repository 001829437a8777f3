/*
 * A file that is written under a temporary name in its target's folder and renamed when it is complete, so
 * that the target is never a partial file.
 *
 * Logs nothing; failures set errno. One thread at a time.
 */
#pragma once

#include <fcntl.h>

#include <climits>

#include "support/locked_file.h"
#include "support/unique_fd.h"

class AtomicFile {
  public:
    /* What is synced when the file gets the target's name. */
    enum class Sync {
        kNothing, /* the file need not survive a power cut */
        kNames,   /* the folder; the content is synced already */
        kAll      /* the content before the rename, the folder after it */
    };

    /* Whether the file has the target's name. */
    enum class Placed {
        kNo,
        kUnsynced, /* yes, but the folder could not be synced: a power cut may bring back the old file */
        kYes
    };

    /*
     * folder: the target's folder (O_PATH is enough), and target its name there; or AT_FDCWD, and target its
     * path. Both must outlive the object.
     */
    AtomicFile(int folder, const char *target);
    /* Removes the temporary file, unless it got the target's name. */
    ~AtomicFile();
    AtomicFile(const AtomicFile &) = delete;
    AtomicFile &operator=(const AtomicFile &) = delete;

    /* Uses TARGET+SUFFIX, which somebody else creates and writes. Fails with ENAMETOOLONG. */
    bool name_beside(const char *suffix);

    /*
     * Creates the empty file TARGET+SUFFIX, readable for its owner only, after removing the leftover of a
     * killed process. One writer at a time. flags: the access mode and status flags of open(2).
     */
    bool create_beside(const char *suffix, int flags = O_RDWR);

    /*
     * Creates the empty file KIND.unfinished.XXXXXX in the folder, readable for its owner only. Any number of
     * writers may create one each. See make_locked_file.
     */
    bool create_unique(const char *kind, LeftoverRemoved removed);

    int fd() const { return fd_.get(); }
    UniqueFd take_fd() { return std::move(fd_); }

    /* Replaces the target. kNo: nothing changed. */
    Placed replace_target(Sync sync);

    /* Syncs everything and gives the file the target's name; fails with EEXIST if the target exists. */
    Placed become_target();

    /* Removes the temporary file already. Returns false if that is impossible. */
    bool discard();

    /* Syncs the target's folder. */
    bool sync_folder() const;

  private:
    const int folder_;
    const char *const target_;
    char name_[PATH_MAX] = ""; /* "" if there is no file to remove */
    UniqueFd fd_;
};
