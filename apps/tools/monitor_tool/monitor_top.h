/*
 * The command of monitor_tool that shows the list of modules, refreshed.
 */
#pragma once

#include "cli/exit_code.h"
#include "monitor_tool/monitor_options.h"

/* Until q or Ctrl-C. Where there is no screen to draw on, it prints the list once. */
ExitCode watch_modules(const MonitorOptions &options);
