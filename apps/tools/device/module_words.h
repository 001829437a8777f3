/*
 * Parses module names from the command line.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/exit_code.h"

/* Converts names of modules to ids; reports the first unknown one and returns kUsage. */
ExitCode read_modules(const std::vector<std::string> &words, std::vector<uint32_t> *modules);

/* Joins words with a separator. Pure. */
std::string joined(const std::vector<std::string> &words, const char *between = " ");
