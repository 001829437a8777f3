/*
 * Selects lines of the log. Pure.
 */
#pragma once

#include <string>
#include <vector>

#include "logtool/log_line.h"

struct LogFilter {
    std::vector<std::string> modules; /* names; none for all */
    int level = kNoLevel;             /* this level and more urgent ones; kNoLevel for all */
    std::string text;                 /* part of the line's text, ignoring case; "" for any */

    /* Whether a line is from the modules and contains the text; ignores the level. */
    bool concerns(const LogLine &line) const;

    /* Whether the line's level is selected; false for a line without a level, unless all levels are. */
    bool wants_level_of(const LogLine &line) const;
};
