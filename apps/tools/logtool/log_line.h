/*
 * Parses lines of the device's log. Pure.
 */
#pragma once

#include <string>
#include <vector>

inline constexpr int kNoLevel = -1;

struct LogLine {
    std::string time;
    std::string module;  /* the name of the program in the log */
    std::string process; /* its process id */
    int level = kNoLevel;
    std::string text;
};

/*
 * Parses a line of a log file: of syslog, with old or new time stamps, with or without "facility.level", or
 * of a module's debug channel. A line in another format is all text.
 */
LogLine parse_log_line(const std::string &line);

/* Parses a line of the journal, a JSON object. cursor: receives its cursor, if it has one. */
LogLine parse_journal_line(const std::string &line, std::string *cursor);

/* "warning"; "" for kNoLevel. */
std::string level_name(int level);

/* The names of the levels, most urgent first. */
std::vector<std::string> level_names();

/* The level of a name, short forms included, or of a number; kNoLevel if unknown. */
int level_named(const std::string &word);
