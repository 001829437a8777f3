/*
 * Completions for the shell. The completion script passes the words so far to --complete.
 */
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <vector>

#include "cli/command.h"

/* The name of an option's value in help and completion, without the parser's additions: "TYPE". */
std::string value_name(const CLI::Option &option);

/*
 * Prints the matching words, one per line; upper and lower case are equal. Leaves out words that a terminal
 * can't show unchanged.
 *
 * candidates: returns the possible words for an argument or an option's value, by its name.
 * words: the command line after the tool's name; the last word is to be completed. bash passes "--type=u" as
 * one word or as three.
 */
void print_completions(const CLI::App &app, const std::map<std::string, FittingWords> &candidates,
                       const std::vector<std::string> &words);
