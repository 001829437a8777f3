/*
 * A program that a test starts, talks to, watches and ends. For one thread at a time.
 *
 * The program's standard input and output are pipes to the test; its standard error is captured
 * and may be read at any time. It inherits no other descriptor of the test.
 */
#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <vector>

#include "support/wait_until.h"

/* Whether a process of any user has ended, reaped or not. */
bool has_ended(pid_t pid);

class ChildProcess {
  public:
    /*
     * Starts a program.
     *
     * command: the program, looked up in PATH, and its arguments.
     * environment: "NAME=value" entries on top of the test's own environment.
     */
    explicit ChildProcess(const std::vector<std::string> &command,
                          const std::vector<std::string> &environment = {});

    /* Kills the program if it still runs. */
    ~ChildProcess();

    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    pid_t pid() const { return pid_; }

    /* Writes a line to the program's input. */
    void write_line(const std::string &line);

    /* Ends the program's input. */
    void close_input();

    /* Reads the next line of its output, without the line end; nothing after the time limit. */
    std::optional<std::string> read_line(std::chrono::milliseconds limit = kPatience);

    /* Its standard error so far. */
    std::string errors() const;

    /* Waits until its standard error contains the text. */
    bool wait_for_error(const std::string &text, std::chrono::milliseconds limit = kPatience) const;

    void send_signal(int number);

    /* Stops it, and waits until each of its threads has stopped. SIGCONT continues it. */
    void stop();

    /* Ends it with SIGKILL and waits for its end. */
    void kill();

    bool running();

    /* Waits for its end. Returns its exit status, 128 plus the signal's number, or -1 if it still runs. */
    int exit_status(std::chrono::milliseconds limit = kPatience);

    /* Open descriptors, as the kernel lists them. */
    size_t descriptors() const;

  private:
    void start(const std::vector<std::string> &command, const std::vector<std::string> &environment,
               int input, int output);
    bool reap();
    void end_counted();
    std::optional<std::string> take_line();

    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    int errors_ = -1;
    int status_ = -1;
    std::string pending_;
};
