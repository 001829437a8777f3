/*
 * The commands of monitor_tool that change something: each is a request to the monitor, which acts on it
 * later.
 */
#pragma once

#include "cli/exit_code.h"
#include "monitor_tool/monitor_options.h"

ExitCode enable_module(const MonitorOptions &options);
ExitCode disable_module(const MonitorOptions &options);

/* These ask before they act, on a terminal. */
ExitCode reboot_device(const MonitorOptions &options);
ExitCode reset_device(const MonitorOptions &options);
ExitCode shut_device_down(const MonitorOptions &options);
