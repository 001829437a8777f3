/*
 * The columns of lists of modules: their texts, their order, and the list as a table.
 */
#pragma once

#include <string>
#include <vector>

#include "monitor_tool/module_report.h"

/* The names of the columns of a list, which it can be sorted by. */
std::vector<std::string> column_names();

/* The same and restarts, for "top". */
std::vector<std::string> top_column_names();

/* The columns by which "top" sorts, in the order of its key. One of them, restarts, is no column of a list.
 */
std::vector<std::string> watched_column_names();

/* Sorts by a column: numbers with the largest first, except ids, and texts alphabetically. */
void sort_reports(std::vector<ModuleReport> &reports, const std::string &column, bool reverse);

/* The content of a column; "" if unknown. */
std::string cell_of(const ModuleReport &report, const std::string &column);

/* Prints the list as a table; modules in trouble are coloured. */
void print_reports(const std::vector<ModuleReport> &reports);
