/*
 * The commands of monitor_tool that look at modules.
 */
#pragma once

#include "cli/exit_code.h"
#include "monitor_tool/monitor_options.h"

/* Every module of the table. */
ExitCode list_modules(const MonitorOptions &options);

/* Everything about one module. */
ExitCode show_status(const MonitorOptions &options);

/* How long some modules take to answer. */
ExitCode probe_modules(const MonitorOptions &options);

/* What some modules, or all that run, hold of the tracked memory. */
ExitCode show_memory(const MonitorOptions &options);

/* Who listens to what. */
ExitCode show_events(const MonitorOptions &options);
