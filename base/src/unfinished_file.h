/*
 * A file that is written under a name of its own, beside the one that it is to become, so that nobody ever
 * finds half a file there.
 *
 * What a killed process leaves of one is removed by the next that makes a file of the same kind in the same
 * folder. Its maker holds a lock on each as long as it lives, which tells a leftover from a file at work. One
 * thread at a time may use an object; any number of threads and processes may make files in one folder.
 */
#pragma once

#include <climits>

#include "held_path.h"
#include "support/unique_fd.h"

class UnfinishedFile {
  public:
    /*
     * Removes the leftovers, and makes the empty file KIND.unfinished.XXXXXX, for its owner's eyes only.
     *
     * target: what to become; held, and outlives the object. kind: what the name begins with.
     * When there is no such file the object is false, and errno tells why.
     */
    UnfinishedFile(const HeldPath &target, const char *kind);
    /* Removes the file, unless it took the target's place. */
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile &) = delete;
    UnfinishedFile &operator=(const UnfinishedFile &) = delete;

    explicit operator bool() const { return static_cast<bool>(fd_); }
    int fd() const { return fd_.get(); }

    /* Puts what was written on the disk and in the target's place. false: nothing changed, see errno. */
    bool replace_target();

    /* As replace_target, but only where there is no target yet: else errno is EEXIST. */
    bool become_target();

    /* Makes the names in the folder outlast a power cut, or warns. */
    void sync_folder() const;

  private:
    int make(const char *kind);
    void remove_file() const;

    const HeldPath &target_;
    char name_[NAME_MAX + 1]; /* "" when there is nothing to remove */
    UniqueFd fd_;
};
