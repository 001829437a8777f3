/*
 * The list of all modules.
 */
#pragma once

#include "monitor_tool/monitor_options.h"

ExitCode list_modules(const MonitorOptions &options);
