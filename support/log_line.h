/*
 * A line of the device's log, as the base library writes it and as a tool takes it apart:
 *
 *   2026-11-05 07:02:09.123 warning wlan FILE FUNCTION:LINE TEXT     debug channel
 *   <188>Nov  5 07:02:09 wlan[17]: FILE FUNCTION:LINE TEXT           to the system's log daemon
 *
 * A daemon keeps its lines in forms of its own, which the reader knows too. docs/operating.md describes both
 * channels. Pure. It is here and not in apps/formats, since the base library depends on nothing of apps.
 */
#pragma once

#include <cstdio>
#include <ctime>
#include <iterator>
#include <string>
#include <vector>

/* What switches the channels when a process starts. */
inline constexpr char kDebugVariable[] = "QUOR_DEBUG";
inline constexpr char kLogLevelVariable[] = "QUOR_SYSLOG_LEVEL";

struct LogLevel {
    const char *name;
    const char *shorter; /* as some daemons write it */
};

/* From the most urgent one; a level is the number of its row. */
inline constexpr LogLevel kLogLevels[] = {
    {"emergency", "emerg"}, {"alert", "alert"},  {"critical", "crit"},
    {"error", "err"},       {"warning", "warn"}, {"notice", "notice"},
    {"info", "info"},       {"debug", "debug"},  {"verbose", "verbose"}};

/* Of no number: what a line doesn't say. */
inline constexpr int kNoLevel = -1;

/* "warning"; otherwise for a number without a name. */
constexpr const char *level_name(int level, const char *otherwise = "") {
    return level >= 0 && level < static_cast<int>(std::size(kLogLevels)) ? kLogLevels[level].name : otherwise;
}

// ---- writing ----
//
// Text: a line under construction, with add(const char *), add_escaped(const char *) for what comes from
// outside, and add_number(long).

/* "2026-11-05 07:02:09.123 warning wlan " */
template <typename Text>
void add_debug_head(Text &line, const std::tm &time, long milliseconds, int level, const char *module) {
    char text[64];
    const size_t length = std::strftime(text, sizeof(text), "%F %T", &time);
    (void)std::snprintf(text + length, sizeof(text) - length, ".%03ld ", milliseconds);
    line.add(text);
    line.add(level_name(level, "other"));
    line.add(" ");
    line.add_escaped(module);
    line.add(" ");
}

/* "<188>Nov  5 07:02:09 wlan[17]: ". priority: level and facility as syslog(3) adds them up. */
template <typename Text>
void add_system_head(Text &line, int priority, const std::tm &time, const char *module, long process) {
    /* The names in the "C" locale, whatever the module's. */
    static constexpr const char *kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    char text[64];
    (void)std::snprintf(text, sizeof(text), ">%s %2d %02d:%02d:%02d ", kMonths[time.tm_mon], time.tm_mday,
                        time.tm_hour, time.tm_min, time.tm_sec);
    line.add("<");
    line.add_number(priority);
    line.add(text);
    line.add_escaped(module);
    line.add("[");
    line.add_number(process);
    line.add("]: ");
}

/* "FILE FUNCTION:LINE TEXT", after either head. */
template <typename Text>
void add_log_body(Text &body, const char *file, const char *function, long line, const char *text) {
    body.add_escaped(file);
    body.add(" ");
    body.add_escaped(function);
    body.add(":");
    body.add_number(line);
    body.add(" ");
    body.add_escaped(text);
}

// ---- reading ----

/* A line taken apart; what it doesn't say is "". */
struct LogRecord {
    std::string time;
    std::string module;  /* the name that its program logs under */
    std::string process; /* its number */
    int level = kNoLevel;
    std::string text; /* with file, function and line */
};

/*
 * Takes a line of a log file apart: of syslog, with old or new times, with or without "facility.level", or of
 * a module's debug channel. What is of no known form is all text.
 */
LogRecord parse_log_line(const std::string &line);

/* The names of the levels, from the most urgent one. */
std::vector<std::string> level_names();

/* The level of a name, short forms included, or of a number; kNoLevel for an unknown name. */
int level_named(const std::string &word);
