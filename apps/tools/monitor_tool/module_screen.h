/*
 * The lines of "monitor_tool top". Pure.
 */
#pragma once

#include <string>
#include <vector>

#include "monitor_tool/module_report.h"
#include "monitor_tool/top_view.h"
#include "output/live_screen.h"

struct ScreenSize {
    size_t columns;
    size_t rows;
};

/* The number of modules that fit the screen. */
size_t page_of(const ScreenSize &size);

/*
 * A summary, a heading, one line per selected module with bars for its processor share and its resident
 * memory, relative to the largest, and the key help or the filter that is being typed; or the page of keys.
 * No line is longer than the screen's width: columns leave by their importance.
 *
 * reports: of all modules. view: its selection is applied here.
 */
std::vector<ScreenLine> screen_lines(const std::vector<ModuleReport> &reports, const TopView &view,
                                     const ScreenSize &size);
