/*
 * Checks numbers on the command line, before the parser converts them, so that the error message names the
 * range as a person writes it.
 */
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>

/* Stands for no upper limit. */
inline constexpr uint64_t kAnyHigh = UINT64_MAX;

/* A whole number, decimal or 0x. */
CLI::Validator whole_number(uint64_t lowest, uint64_t highest = kAnyHigh);

/* A number, perhaps with a fraction. */
CLI::Validator real_number(double lowest, double highest);
