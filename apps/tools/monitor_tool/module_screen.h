/*
 * The lines of "monitor_tool top". Pure.
 */
#pragma once

#include <string>
#include <vector>

#include "monitor_tool/module_report.h"

struct ScreenSize {
    size_t columns;
    size_t rows;
};

/*
 * A summary, a heading, a line a module with a bar for its memory and one for its time, each as long as its
 * share of the largest, and what the keys do. No line is longer than the screen is wide.
 *
 * sort: the column that they are sorted by.
 */
std::vector<std::string> screen_lines(const std::vector<ModuleReport> &reports, const std::string &sort,
                                      const ScreenSize &size);
