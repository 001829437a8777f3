/*
 * A temporary file that atomically replaces its target when it is complete, so that the target is never a
 * partial file.
 *
 * If a killed process leaves an unfinished file, the next process that creates one of the same kind in the
 * same folder removes it. The creator holds a lock on its file, which distinguishes the file from a leftover.
 * One thread at a time may use an object; any number of threads and processes may create files in one folder.
 */
#pragma once

#include <climits>

#include "held_path.h"
#include "support/unique_fd.h"

class UnfinishedFile {
  public:
    /*
     * Removes leftovers, and creates the empty file KIND.unfinished.XXXXXX, readable for its owner only.
     *
     * target: the file to replace; must outlive the object. kind: the prefix of the name.
     * If the file can't be created, the object is false and errno is set.
     */
    UnfinishedFile(const HeldPath &target, const char *kind);
    /* Removes the file, unless it has replaced the target. */
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile &) = delete;
    UnfinishedFile &operator=(const UnfinishedFile &) = delete;

    explicit operator bool() const { return static_cast<bool>(fd_); }
    int fd() const { return fd_.get(); }

    /* Syncs the file and replaces the target with it. Returns false, with errno set, if nothing changed. */
    bool replace_target();

    /* As replace_target, but fails with EEXIST if the target exists. */
    bool become_target();

    /* Syncs the folder, so that the new name survives a power cut. Logs a failure. */
    void sync_folder() const;

  private:
    int make(const char *kind);
    void remove_file() const;

    const HeldPath &target_;
    char name_[NAME_MAX + 1]; /* "" if there is no file to remove */
    UniqueFd fd_;
};
