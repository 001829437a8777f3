/*
 * Modules that the command line names.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/exit_code.h"

/* Reads the names of modules; explains the first that is none, and returns kUsage then. */
ExitCode read_modules(const std::vector<std::string> &words, std::vector<uint32_t> *modules);

/* The words with something between. Pure. */
std::string joined(const std::vector<std::string> &words, const char *between = " ");
