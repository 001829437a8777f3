/*
 * A line of the system's journal, a JSON object, taken apart. Pure.
 */
#pragma once

#include <string>

#include "support/log_line.h"

/* cursor: receives the line's place in the journal, if it has one. */
LogRecord parse_journal_line(const std::string &line, std::string *cursor);
