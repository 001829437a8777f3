/*
 * The lines in which tools show the state of the processors. Every line comes without blanks and line end at
 * its end. Pure functions; any thread.
 */
#pragma once

#include "frwk_common.h"

/* Whether a line of top shows the state: "CPU:   3% usr   1% sys   0% nic  95% idle". */
bool is_top_cpu_line(const char *line);

/* Reads such a line. Members of state that it doesn't name stay as they are; usage does. */
void parse_top_cpu_line(const char *line, frwk_cpustate *state);

/* Whether a line of mpstat shows the state of all processors: "Average:     all    3.00    0.00 ...". */
bool is_mpstat_cpu_line(const char *line);

/*
 * Reads such a line. Members of state whose number is missing stay as they are; usage does.
 *
 * Returns false when no idle column can be told from the others.
 */
bool parse_mpstat_cpu_line(const char *line, frwk_cpustate *state);
