/*
 * Copies of the files that a restore of a backup replaces beside the settings. One thread at a time.
 */
#pragma once

#include <string>

class KeptFiles {
  public:
    /* beside: the copies have this path, with a dot and a number. */
    explicit KeptFiles(std::string beside) : beside_(std::move(beside)) {}

    /*
     * Copies the files, so that the copies survive a power cut. signs: receives a sign for each file, "+" for
     * a copy and "-" for a missing file. Returns 0 or an errno value, which is logged; then there may be
     * copies.
     */
    int keep(std::string &signs);

    /*
     * Gives the files the content that they had, and removes those that were missing. May be repeated.
     * Returns 0 or an errno value, which is logged.
     */
    int put_back(const std::string &signs);

    /* Removes the copies. */
    void drop();

  private:
    std::string copy_of(size_t number) const { return beside_ + "." + std::to_string(number); }

    const std::string beside_;
};
