/*
 * The files that make a process the only one of its kind, such as its lock and its socket: whether they are
 * still those that it made. Where one was removed, another process may have taken its place. Any thread.
 */
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

class OwnFiles {
  public:
    /* Notes those that are there. The process holds them open, or another file could get the number of one.
     */
    explicit OwnFiles(const std::vector<std::string> &paths);

    /* Returns the path of the first that is gone or another one, or null. */
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
