/*
 * The help of a program that has options and no commands.
 */
#pragma once

#include <string>
#include <vector>

struct OptionHelp {
    const char *name; /* with its value: "--limit SECONDS" */
    const char *meaning;
};

/*
 * The help, wrapped for the terminal on standard output.
 *
 * usage: the line of usage. purpose, notes: texts whose lines are paragraphs.
 */
std::string program_help(const std::string &usage, const std::string &purpose,
                         const std::vector<OptionHelp> &options, const std::string &notes);
