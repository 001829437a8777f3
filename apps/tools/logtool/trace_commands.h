/*
 * The command of logtool that shows and switches the traces of the modem service.
 */
#pragma once

#include "cli/exit_code.h"
#include "logtool/log_options.h"

ExitCode switch_traces(const LogOptions &options);
