/*
 * Atomic replacement of a file: a temporary file in the same folder is renamed to it when it is complete. One
 * thread at a time.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "file_steps.h"

/*
 * Removes the temporary file that a killed writer left. Only while nobody writes one.
 *
 * Returns whether there was one.
 */
bool remove_leftover(const std::string &path);

class ReplacementFile {
  public:
    /* What the new content must survive. */
    enum class Outlives {
        kCrash,
        kPowerCut
    };

    /* Creates the temporary file, readable for its owner only, and missing folders. */
    explicit ReplacementFile(const std::string &path);
    ReplacementFile(const ReplacementFile &) = delete;
    ReplacementFile &operator=(const ReplacementFile &) = delete;
    /* Removes the temporary file unless it has replaced the file. */
    ~ReplacementFile();

    /*
     * Checks in advance whether the file can be replaced. Returns 0 or an errno value: that of the first
     * failure so far, or EISDIR if the file is a folder.
     */
    int obstacle() const;

    /* Appends to the content. put_in_place reports a failure. */
    void add(std::string_view text);

    /*
     * Replaces the file by the new content. Returns 0, or the errno value of the first failure; then
     * the file has its old content, unless only its folder could not be synced.
     */
    int put_in_place(Outlives outlives);

    /* Whether the file was replaced. */
    bool in_place() const { return in_place_; }

    uint64_t size() const { return size_; }

    /* Returns the descriptor, open for reading and appending, and its ownership. */
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
