/*
 * A line of the device's log, taken apart. Pure.
 */
#pragma once

#include <string>
#include <vector>

inline constexpr int kNoLevel = -1;

struct LogLine {
    std::string time;
    std::string module;  /* the name that its program logs under */
    std::string process; /* its number */
    int level = kNoLevel;
    std::string text;
};

/*
 * Takes a line of a log file apart: of syslog, with old or new times, with or without "facility.level", or of
 * a module's debug channel. What is of no known form is all text.
 */
LogLine parse_log_line(const std::string &line);

/* Takes a line of the journal, a JSON object, apart. cursor: receives its place, if it has one. */
LogLine parse_journal_line(const std::string &line, std::string *cursor);

/* "warning"; "" for kNoLevel. */
std::string level_name(int level);

/* The names of the levels, from the most urgent one. */
std::vector<std::string> level_names();

/* The level of a name, short forms included, or of a number; kNoLevel when there is none. */
int level_named(const std::string &word);
