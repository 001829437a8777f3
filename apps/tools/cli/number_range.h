/*
 * Checks numbers on the command line, before the parser converts them, so that the error message names the
 * range as a person writes it. Pure.
 */
#pragma once

#include <cstdint>
#include <string>

/* Stands for no upper limit. */
inline constexpr uint64_t kAnyHigh = UINT64_MAX;

/* The problem with a word as a whole number, decimal or 0x; "" for one within the range. */
std::string whole_number_problem(const std::string &word, uint64_t lowest, uint64_t highest = kAnyHigh);

/* The same for a number that may have a fraction. */
std::string real_number_problem(const std::string &word, double lowest, double highest);
