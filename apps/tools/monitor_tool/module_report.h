/*
 * The status of a module for monitor_tool: the known facts and the module's answers, as texts.
 */
#pragma once

#include <string>
#include <vector>

#include "device/module_facts.h"
#include "device/module_survey.h"
#include "output/json_output.h"

struct ModuleReport {
    ModuleFacts facts;
    ProbeResult result;
};

/* Queries all services, and returns a report for every module of the table. */
std::vector<ModuleReport> report_all(std::chrono::milliseconds limit);

/* The services of the table, except the tool itself. */
std::vector<uint32_t> modules_to_ask();

/* Combines the modules' answers with the known facts. */
std::vector<ModuleReport> with_facts(const std::map<uint32_t, ProbeResult> &results);

/*
 * "running": it answers. "no answer": it accepts messages, but did not answer in time. "not accepting": its
 * process exists, but accepts no messages. "no access": this user may not ask it. "stopped". "-": a tool,
 * which is not queried.
 */
const char *state_of(const ModuleReport &report);

bool is_running(const ModuleReport &report);

/* Leaves out the modules that don't run; those that don't answer or don't accept messages stay. */
void keep_running(std::vector<ModuleReport> &reports);

Json memory_as_json(const os_mem_usage_t &memory);

/* Everything about a module as JSON; unknown values are left out. */
Json report_as_json(const ModuleReport &report);

/* The names of the columns that a list can be sorted by. */
std::vector<std::string> column_names();

/* Sorts by a column: numbers with the largest first, except ids, and texts alphabetically. */
void sort_reports(std::vector<ModuleReport> &reports, const std::string &column, bool reverse);

/* The content of a column; "" if unknown. */
std::string cell_of(const ModuleReport &report, const std::string &column);

/* Prints the list as a table. */
void print_reports(const std::vector<ModuleReport> &reports);
