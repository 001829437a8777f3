/*
 * Where the log is looked for, for messages about an empty one.
 */
#pragma once

#include <string>

#include "log/log_source.h"
#include "logtool/log_options.h"

/*
 * The wanted source, or else the first of the system's log files that exists, the journal, or the ring
 * buffer: the journal also if neither can be had.
 */
LogSource chosen_source(const LogOptions &options);

/* The log file that is read; "" if another source is. */
std::string chosen_log_file(const LogOptions &options);

/* The place that is read, as in "none of the lines of PLACE". */
std::string log_place(const LogOptions &options);

/* Each place that was looked at, and why it has no line. */
std::string empty_places(const LogOptions &options);

/* The log files of the system that don't exist, "; PATH is missing" each; "" if others were not wanted. */
std::string missing_files(const LogOptions &options);
