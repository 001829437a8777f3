/*
 * The command of logtool that shows and switches the device's debug mode.
 */
#pragma once

#include "cli/exit_code.h"
#include "logtool/log_options.h"

ExitCode switch_debug_mode(const LogOptions &options);
