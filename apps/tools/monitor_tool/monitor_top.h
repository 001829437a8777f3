/*
 * The command of monitor_tool that shows the list of modules, refreshed.
 */
#pragma once

#include "cli/exit_code.h"
#include "monitor_tool/monitor_options.h"

/* Runs until q or Ctrl-C. Without a terminal it prints the list once. */
ExitCode watch_modules(const MonitorOptions &options);
