/*
 * The command of logtool that shows and switches the device's debug mode.
 */
#pragma once

#include "exit_code.h"
#include "log_options.h"

ExitCode switch_debug_mode(const LogOptions &options);
