/*
 * Selects lines of the log. Pure.
 */
#pragma once

#include <string>
#include <vector>

#include "support/log_line.h"

struct LogFilter {
    std::vector<std::string> modules;  /* names; */
    std::vector<std::string> programs; /* names of others; none of both for all */
    int level = kNoLevel;              /* this level and more urgent ones; kNoLevel for all */
    std::string text;                  /* part of the line's text, ignoring case; "" for any */

    /* Whether a line is of the modules or programs and has the text; its level is a matter of its own. */
    bool concerns(const LogRecord &line) const;

    /* Whether its level is wanted; a line without a level is not, when levels matter. */
    bool wants_level_of(const LogRecord &line) const;
};
