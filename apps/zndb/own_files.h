/*
 * Checks whether the files that make a process the only instance, such as its lock and its socket, are still
 * those that it created. If one was removed, another instance may have started. Any thread.
 */
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

class OwnFiles {
  public:
    /* Records the files that exist. The process keeps them open, so that no other file gets the same inode
     * number. */
    explicit OwnFiles(const std::vector<std::string> &paths);

    /* Returns the path of the first file that is missing or was replaced, or null. */
    const char *lost() const;

  private:
    struct File {
        std::string path;
        dev_t device;
        ino_t number;
    };

    static bool is_lost(const File &file);

    std::vector<File> files_;
};
