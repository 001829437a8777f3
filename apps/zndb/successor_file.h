/*
 * Atomic replacement of a file: a temporary file in the same folder is renamed to it when it is complete. One
 * thread at a time.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support/atomic_file.h"

/*
 * Removes the temporary file that a killed writer left. Only while nobody writes one.
 *
 * Returns whether there was one.
 */
bool remove_leftover(const std::string &path);

/*
 * Checks whether a file can be replaced by another one of its folder. Returns 0, also for a missing file, or
 * an errno value: EISDIR if it is a folder, EBUSY if it is mounted, EPERM if it or its folder is immutable or
 * append-only, or if the folder is sticky and the file another user's.
 */
int replacement_obstacle(const std::string &path);

class SuccessorFile {
  public:
    /* Opens the temporary file, readable by nobody else, and makes missing folders. */
    explicit SuccessorFile(const std::string &path);
    SuccessorFile(const SuccessorFile &) = delete;
    SuccessorFile &operator=(const SuccessorFile &) = delete;

    /* Appends to the content. put_in_place and discard report a failure. */
    void add(std::string_view text);

    /*
     * Does all that put_in_place does, except that the temporary file is removed. Returns 0, or the errno
     * value of the first failure. May not be followed by other calls.
     */
    int discard();

    /* Writes and syncs all content, so that put_in_place with Sync::kNames follows. Returns 0 or errno. */
    int sync();

    /*
     * Replaces the file by the new content. Returns 0, or the errno value of the first failure; then
     * the file has its old content, unless only its folder could not be synced.
     */
    int put_in_place(AtomicFile::Sync sync);

    /* Whether the file is the new one. */
    bool in_place() const { return placed_ != AtomicFile::Placed::kNo; }

    uint64_t size() const { return size_; }

    /* Hands over the descriptor, open for reading and appending. */
    UniqueFd take_fd() { return file_.take_fd(); }

  private:
    void flush();

    const std::string path_;
    AtomicFile file_;
    std::string buffer_;
    uint64_t size_ = 0;
    int error_ = 0;
    AtomicFile::Placed placed_ = AtomicFile::Placed::kNo;
};
