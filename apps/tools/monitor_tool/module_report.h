/*
 * A module as monitor_tool sees it: what is known of it and what it said, put into words.
 */
#pragma once

#include <string>
#include <vector>

#include "device/module_facts.h"
#include "device/module_survey.h"
#include "output/json_output.h"

struct ModuleReport {
    ModuleFacts facts;
    VitalSigns signs;
};

/* Asks every module that can be asked, and reports on all of the table. */
std::vector<ModuleReport> report_all(std::chrono::milliseconds limit);

/* The modules of the table that can be asked; the tool itself is left out. */
std::vector<uint32_t> modules_to_ask();

/* What modules said, joined with what is known of all of them. */
std::vector<ModuleReport> with_facts(const std::map<uint32_t, VitalSigns> &signs);

/*
 * "running": it answers. "hangs": it takes messages, but did not answer in time. "silent": its process lives,
 * but takes no messages. "stopped". "-": a tool, which nobody asks.
 */
const char *state_of(const ModuleReport &report);

bool is_running(const ModuleReport &report);

/* Leaves out the modules that don't run; those that hang or are silent stay. */
void keep_running(std::vector<ModuleReport> &reports);

Json memory_as_json(const os_mem_usage_t &memory);

/* Everything about it, as JSON; what is not known is left out. */
Json report_as_json(const ModuleReport &report);

/* The names of the columns that a list can be sorted by. */
std::vector<std::string> column_names();

/* Sorts by a column: numbers from the largest, but for ids, and texts from A. */
void sort_reports(std::vector<ModuleReport> &reports, const std::string &column, bool reverse);

/* What stands in a column of that name; "" when it is not known. */
std::string cell_of(const ModuleReport &report, const std::string &column);

/* The list, for people. */
void print_reports(const std::vector<ModuleReport> &reports);
