/*
 * A new content for a file: it is collected in a temporary file, which takes the file's place when it is
 * complete. One thread at a time.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support/atomic_file.h"

/*
 * Removes what a writer that was killed left beside a file. Only while nobody writes one.
 *
 * Returns whether there was something.
 */
bool remove_leftover(const std::string &path);

class SuccessorFile {
  public:
    /* Opens the temporary file, readable by nobody else, and makes missing folders. */
    explicit SuccessorFile(const std::string &path);
    SuccessorFile(const SuccessorFile &) = delete;
    SuccessorFile &operator=(const SuccessorFile &) = delete;

    /*
     * Whether it could take the file's place, as far as is known before. Returns 0 or an errno value: that of
     * the first failure so far, or EISDIR where the file is a folder.
     */
    int obstacle() const;

    /* Adds to the content. A failure is kept for put_in_place. */
    void add(std::string_view text);

    /*
     * Puts the new content in the file's place. Returns 0, or the errno value of the first failure; then
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
