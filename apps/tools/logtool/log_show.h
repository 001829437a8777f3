/*
 * The command of logtool that shows the log.
 */
#pragma once

#include "cli/exit_code.h"
#include "logtool/log_options.h"

/* From the file that is named, else the first of the system's own that is there, else the journal. */
ExitCode show_log(const LogOptions &options);
