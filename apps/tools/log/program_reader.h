/*
 * Reads the output of a program, journalctl or logread, line by line.
 */
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "log/log_file.h"
#include "support/unique_fd.h"

class ProgramReader {
  public:
    /* Starts it. words: the program, looked up in PATH, and its arguments. */
    explicit ProgramReader(std::vector<std::string> words);

    /* Ends it. */
    ~ProgramReader();

    ProgramReader(const ProgramReader &) = delete;
    ProgramReader &operator=(const ProgramReader &) = delete;

    /* The problem if it could not be started, or "". */
    const std::string &problem() const { return problem_; }

    /* Passes on the lines until the output ends, a signal arrives, or take returns false. */
    void read(const SignalWatch &watch, const LineTaker &take);

    /* Waits for its end. Returns "" or the problem; the program has printed the reason. */
    std::string end();

  private:
    const std::string name_;
    pid_t pid_ = -1;
    UniqueFd output_;
    std::string problem_;
};

/* Whether a program of this name is in PATH. */
bool is_program(const std::string &name);
