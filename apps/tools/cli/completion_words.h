/*
 * What the shell may complete a word to. The completion script gives the words so far to --complete.
 */
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>

/* What stands for an option's value in help and completion, without what the parser adds: "TYPE". */
std::string value_name(const CLI::Option &option);

/*
 * Prints the words that fit, one a line. Words that a terminal can't show as they are, are left out.
 *
 * candidates: what stands for an argument or an option's value, by its name.
 * words: the command line behind the tool's name; the last one is to be completed.
 */
void print_completions(const CLI::App &app,
                       const std::map<std::string, std::function<std::vector<std::string>()>> &candidates,
                       const std::vector<std::string> &words);
