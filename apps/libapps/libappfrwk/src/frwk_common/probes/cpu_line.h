/*
 * Parses the lines in which tools print the processor load. Blanks and the line end at a line's end must be
 * removed before. Pure functions; any thread.
 */
#pragma once

#include "frwk_common.h"

/* Whether a line of top is the processor load: "CPU:   3% usr   1% sys   0% nic  95% idle". */
bool is_top_cpu_line(const char *line);

/* Parses such a line. Members of state that it doesn't name are unchanged, except usage. */
void parse_top_cpu_line(const char *line, frwk_cpustate *state);

/* Whether a line of mpstat is the load of all processors: "Average:     all    3.00    0.00 ...". */
bool is_mpstat_cpu_line(const char *line);

/*
 * Parses such a line. Members of state whose number is missing are unchanged, except usage.
 *
 * Returns false if the idle column can't be identified.
 */
bool parse_mpstat_cpu_line(const char *line, frwk_cpustate *state);
