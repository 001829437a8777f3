/*
 * The end of the system's log, for modules.
 */
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/log_line.h"

struct ModuleLog {
    std::deque<LogRecord> lines;     /* the last ones */
    std::set<std::string> processes; /* the process ids that its lines have, in all that was read */
};

struct LogTail {
    std::string place;   /* what was read: "/var/log/messages", "the journal" */
    std::string problem; /* why it can't be read, or "" */
    std::map<std::string, ModuleLog> modules;
};

/*
 * Reads the last lines of modules: from the last megabytes of the log file, the last lines of each module in
 * the journal, or the ring buffer. Ctrl-C ends the tool.
 *
 * count: lines of each module.
 */
LogTail read_log_tail(const std::vector<std::string> &modules, size_t count);
