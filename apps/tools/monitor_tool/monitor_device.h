/*
 * The commands of monitor_tool that send a request to the monitor, which carries it out later.
 */
#pragma once

#include "cli/exit_code.h"
#include "monitor_tool/monitor_options.h"

ExitCode enable_module(const MonitorOptions &options);
ExitCode disable_module(const MonitorOptions &options);

/* On a terminal these ask for a confirmation. */
ExitCode reboot_device(const MonitorOptions &options);
ExitCode reset_device(const MonitorOptions &options);
ExitCode shut_device_down(const MonitorOptions &options);
