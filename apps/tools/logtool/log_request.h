/*
 * What "logtool show" was asked for, and where its lines go.
 */
#pragma once

#include "logtool/log_options.h"
#include "logtool/log_output.h"

struct LogRequest {
    const LogOptions &options;
    const LogFilter &filter;
    const LogPeriod &period;
    size_t last; /* number of last lines; 0 for all */
    LogOutput &output;
};

/* Reports a failed output. */
ExitCode check_output(const LogOutput &output);
