/*
 * Prints everything about a module: its report, and the last lines of its log.
 */
#pragma once

#include "log/log_tail.h"
#include "monitor_tool/module_report.h"

/* log: null to leave it out. */
void print_status(const ModuleReport &report, const LogTail *log);
Json status_as_json(const ModuleReport &report, const LogTail *log);

/*
 * How many other processes of the module the lines of its log name; nothing if they name none at all. The
 * number of restarts is the least that it can be: a process may have written nothing. Pure.
 */
std::optional<size_t> restarts_in_log(const ModuleReport &report, const ModuleLog &log);
