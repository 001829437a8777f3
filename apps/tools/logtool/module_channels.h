/*
 * The command of logtool that shows how each module's log channels were started.
 */
#pragma once

#include "cli/exit_code.h"
#include "logtool/log_options.h"

ExitCode show_channels(const LogOptions &options);

/* Makes modules read their log settings again. */
ExitCode reload_log_settings(const LogOptions &options);
