/*
 * The command of logtool that shows and switches what the modem's service traces.
 */
#pragma once

#include "cli/exit_code.h"
#include "logtool/log_options.h"

ExitCode switch_traces(const LogOptions &options);
