/*
 * The journal, where the system keeps its log in one: what the program journalctl prints, line by line.
 */
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "logtool/log_file.h"
#include "support/unique_fd.h"

class JournalReader {
  public:
    /*
     * Starts journalctl.
     *
     * modules: the names whose lines are wanted; none for all. after: the place behind which it begins; ""
     * for the beginning. follow: it doesn't end.
     */
    JournalReader(const std::vector<std::string> &modules, const std::string &after, bool follow);

    /* Ends it. */
    ~JournalReader();

    JournalReader(const JournalReader &) = delete;
    JournalReader &operator=(const JournalReader &) = delete;

    /* Why it could not be started, or "". */
    const std::string &problem() const { return problem_; }

    /* Gives the lines until it ends, a signal comes, or no more are wanted. */
    void read(const SignalWatch &watch, const LineTaker &take);

    /* Waits for its end. Returns "" or what went wrong; it said itself why. */
    std::string end();

  private:
    pid_t pid_ = -1;
    UniqueFd output_;
    std::string problem_;
};
