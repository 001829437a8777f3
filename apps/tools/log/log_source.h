/*
 * Where the system's log is, if nobody says it.
 */
#pragma once

#include <string>

/* The programs that print the journal, and the ring buffer of a log daemon without a file. */
inline constexpr char kJournalProgram[] = "journalctl";
inline constexpr char kRingProgram[] = "logread";

enum class LogSource {
    kFile,
    kJournal,
    kRing
};

/* The first of the system's log files that exists; "" if none does. */
std::string system_log_file();

/* A log file, the journal, or the ring buffer: the first that exists. The journal if none does. */
LogSource system_log_source();

/* "/var/log/messages", "the journal" or "the ring buffer". file: that of LogSource::kFile. */
std::string source_text(LogSource source, const std::string &file);
