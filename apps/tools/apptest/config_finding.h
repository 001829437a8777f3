/*
 * What a check of a configuration file finds.
 */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct ConfigFinding {
    size_t line; /* from 1 on */
    std::string text;
};
using ConfigFindings = std::vector<ConfigFinding>;

/* The number of the line at an offset of a text. */
size_t line_at(std::string_view text, size_t offset);
