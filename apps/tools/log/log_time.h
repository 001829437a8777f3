/*
 * Times: those that --since and --until take, and those of log lines. In the time zone of the process, to the
 * second.
 */
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

/*
 * Reads "2026-11-22 10:00", "2026-11-22", "10:00", "yesterday 10:00", "-1h", "5 min ago", "boot",
 * "@1795000000", the time of a log line, and the like.
 *
 * Returns "" or the problem.
 */
std::string read_time_word(const std::string &word, std::time_t now, std::time_t *time);

/* Some of these words, for completion. */
std::vector<std::string> time_words();

/*
 * The time of a log line. One without a year is the latest that is not more than a day after now. Nothing for
 * a text of another form.
 */
std::optional<std::time_t> time_of_line(const std::string &text, std::time_t now);
