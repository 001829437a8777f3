/*
 * How a line of the log looks: its colour, and its JSON.
 */
#pragma once

#include "output/json_output.h"
#include "output/terminal.h"
#include "support/log_line.h"

/* Errors are red, warnings yellow, notices bold, debug lines dim. */
Style style_of_level(int level);

/* What the line doesn't say is left out. */
Json record_as_json(const LogRecord &line);
