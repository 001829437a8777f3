/*
 * A file in place of one that only the kernel writes.
 */
#pragma once

namespace faults {

/* While it lives, fopen of the one opens the other. One at a time; the paths outlive it. */
class StandInFile {
  public:
    StandInFile(const char *path, const char *stand_in);
    StandInFile(const StandInFile &) = delete;
    StandInFile &operator=(const StandInFile &) = delete;
    ~StandInFile();
};

}  // namespace faults
