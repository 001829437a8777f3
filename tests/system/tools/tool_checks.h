/*
 * What tests expect of a tool's end.
 */
#pragma once

#include <string>
#include <vector>

#include "system/tools/tool_run.h"

/* Removes the socket that a module of an earlier test has left: it is as if it had never run. */
void forget_module(const std::string &name);

class ToolChecks {
  public:
    explicit ToolChecks(std::string name) : name_(std::move(name)) {}

    /* Runs the tool. words: its arguments. */
    ToolEnd run(std::vector<std::string> words, const std::string &input = "") const;

    /* Expects success without a complaint, and gives what was printed. */
    std::string output_of(const std::vector<std::string> &words, const std::string &input = "") const;

    /* Expects a status and nothing but a complaint. */
    void expect_failure(int status, const std::string &complaint, const std::vector<std::string> &words,
                        const std::string &input = "") const;

    /* Expects a complaint about the command line, and a hint at the help. */
    void expect_usage(const std::string &complaint, const std::vector<std::string> &words) const;

  private:
    const std::string name_;
};
