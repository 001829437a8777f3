/*
 * A real module that a test starts and controls with commands: the program scripted-module. For one thread at
 * a time.
 */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/child_process.h"

/* How a module is started. */
struct ModuleOptions {
    bool registered = true;               /* with a handler from the start */
    bool exit_handler = true;             /* one that records the message that ended the module */
    bool debug = true;                    /* with the debug channel on standard error */
    std::vector<std::string> environment; /* "NAME=value" */
};

class ModuleProcess {
  public:
    /* Starts the module and waits until it is started. */
    explicit ModuleProcess(int id, const ModuleOptions &options = {});

    /* Ends the module. A sanitizer's finding in it fails the test. */
    ~ModuleProcess();

    /* Sends a command, waits until it is carried out, and returns the reply. */
    std::string ask(const std::string &command);

    /* The two halves of ask. */
    void tell(const std::string &command) { process_.write_line(command); }
    std::string reply();

    /* The messages that its handlers received so far, "SOURCE MESSAGE LENGTH BODY" or "exit MESSAGE" each. */
    std::vector<std::string> messages() const;
    bool wait_for_messages(size_t count) const;
    bool wait_for_message(const std::string &message) const;

    ChildProcess &process() { return process_; }
    int pid() const { return process_.pid(); }

  private:
    std::string record_;
    ChildProcess process_;
};

/* The command line of a module, for tests that start one in another way. */
std::vector<std::string> module_command(int id, const ModuleOptions &options = {},
                                        const std::string &record = "/dev/null");
