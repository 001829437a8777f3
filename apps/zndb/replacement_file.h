/*
 * A new content for a file that is the old one or the new one at every moment, never half: a temporary
 * file beside it takes its place when it is complete. One thread at a time.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "file_steps.h"

/*
 * Removes what a writer that was killed left beside a file. Only while nobody writes one.
 *
 * Returns whether there was something.
 */
bool remove_leftover(const std::string &path);

class ReplacementFile {
  public:
    /* What the new content has to outlive once it is in place. */
    enum class Outlives {
        kCrash,
        kPowerCut
    };

    /* Opens the temporary file, readable by nobody else, and makes missing folders. */
    explicit ReplacementFile(const std::string &path);
    ReplacementFile(const ReplacementFile &) = delete;
    ReplacementFile &operator=(const ReplacementFile &) = delete;
    /* Removes the temporary file unless it was put in place. */
    ~ReplacementFile();

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
    int put_in_place(Outlives outlives);

    /* Whether the file is the new one. */
    bool in_place() const { return in_place_; }

    uint64_t size() const { return size_; }

    /* Hands over the descriptor, open for reading and appending. */
    UniqueFd take() { return std::move(fd_); }

  private:
    void flush();

    const std::string path_;
    const std::string temporary_;
    UniqueFd fd_;
    std::string buffer_;
    uint64_t size_ = 0;
    int error_ = 0;
    bool in_place_ = false;
};
