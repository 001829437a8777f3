/*
 * The command that reads the system's journal. Pure.
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "log/log_period.h"

struct JournalQuery {
    std::vector<std::string> modules;  /* only lines of these names; */
    std::vector<std::string> programs; /* and of these; none of both for all */
    LogPeriod period;
    size_t last = 0;    /* only so many lines; 0 for all */
    std::string cursor; /* start after this place; "" for the beginning */
    bool follow = false;
};

std::vector<std::string> journal_command(const JournalQuery &query);
