/*
 * The command of logtool that shows the log.
 */
#pragma once

#include "cli/exit_code.h"
#include "logtool/log_options.h"

/* Shows the given file, else the first existing log file of the system, else the journal. */
ExitCode show_log(const LogOptions &options);
