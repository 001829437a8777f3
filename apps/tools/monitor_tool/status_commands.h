/*
 * The commands of monitor_tool that show the status of modules.
 */
#pragma once

#include "cli/exit_code.h"
#include "monitor_tool/monitor_options.h"

/* Every module of the table. */
ExitCode list_modules(const MonitorOptions &options);

/* Everything about one module. */
ExitCode show_status(const MonitorOptions &options);

/* The response times of some modules. */
ExitCode probe_modules(const MonitorOptions &options);

/* The tracked memory of some modules, or of all that run. */
ExitCode show_memory(const MonitorOptions &options);

/* The subscribers of events. */
ExitCode show_events(const MonitorOptions &options);
