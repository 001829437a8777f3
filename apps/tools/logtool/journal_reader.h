/*
 * Reads the system's journal: the output of journalctl, line by line.
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
     * modules: only lines of these names; none for all. after: the cursor after which to start; "" for the
     * beginning. follow: continue with new lines.
     */
    JournalReader(const std::vector<std::string> &modules, const std::string &after, bool follow);

    /* Ends it. */
    ~JournalReader();

    JournalReader(const JournalReader &) = delete;
    JournalReader &operator=(const JournalReader &) = delete;

    /* The problem if it could not be started, or "". */
    const std::string &problem() const { return problem_; }

    /* Passes on the lines until the output ends, a signal arrives, or take returns false. */
    void read(const SignalWatch &watch, const LineTaker &take);

    /* Waits for its end. Returns "" or the problem; journalctl has printed the reason. */
    std::string end();

  private:
    pid_t pid_ = -1;
    UniqueFd output_;
    std::string problem_;
};
