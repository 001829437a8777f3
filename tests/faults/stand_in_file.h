/*
 * Replaces a file that only the kernel writes.
 */
#pragma once

namespace faults {

/* While the object exists, fopen of the one path opens the other. One object at a time; the paths must
 * outlive it. */
class StandInFile {
  public:
    StandInFile(const char *path, const char *stand_in);
    StandInFile(const StandInFile &) = delete;
    StandInFile &operator=(const StandInFile &) = delete;
    ~StandInFile();
};

}  // namespace faults
