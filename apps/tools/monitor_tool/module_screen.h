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
 * A summary, a heading, one line per module with bars for its memory and its response time, relative to the
 * largest, and the key help. No line is longer than the screen's width: bars and key
 * help shrink and go.
 *
 * sort: the column that they are sorted by.
 */
std::vector<std::string> screen_lines(const std::vector<ModuleReport> &reports, const std::string &sort,
                                      const ScreenSize &size);
