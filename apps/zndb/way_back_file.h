/*
 * The file with the way back from settings that are not confirmed: on flash, since a save meanwhile takes
 * these settings there. One thread at a time.
 */
#pragma once

#include <string>

#include "formats/way_back_text.h"

class WayBackFile {
  public:
    explicit WayBackFile(std::string path) : path_(std::move(path)) {}

    /*
     * Reads the file. is_there: whether there is a whole one; then way_back receives it. A malformed file is
     * renamed, with a warning. Returns 0, also for a missing file, or an errno value, which is logged.
     */
    int read(WayBack &way_back, bool &is_there);

    /* Replaces the file, so that it survives a power cut. Returns 0 or an errno value, which is logged; then
     * it may have been replaced nevertheless. */
    int write(const WayBack &way_back);

    /* Removes the file, so that it stays gone after a power cut; does nothing if there is none. Returns 0 or
     * an errno value, which is logged. is_gone: whether it has lost its name. */
    int remove(bool &is_gone);

  private:
    int report(const char *what, int error) const;
    void set_aside() const;

    const std::string path_;
    bool is_there_ = false; /* or perhaps after a power cut */
};
