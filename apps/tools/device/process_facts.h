/*
 * The facts about a process that the kernel lists.
 */
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

struct ProcessFacts {
    double processor_seconds; /* used by all its threads since its start */
    double started;           /* seconds from the device's start */
    uint32_t threads;
    uint64_t resident_bytes;
};

/* The parts of a process's line of status that are used, in the kernel's units. */
struct ProcessStatus {
    uint64_t ticks;
    uint64_t start_ticks;
    uint32_t threads;
    uint64_t resident_pages;
};

/* Reads the text of /proc/PID/stat; nothing if it is of another form. Pure. */
std::optional<ProcessStatus> parse_process_status(const std::string &text);

/* The facts of a process; nothing if there is none, or it can't be read. */
std::optional<ProcessFacts> process_facts(pid_t process);

/* Seconds since the device's start, sleep included: the clock of ProcessFacts. */
double seconds_since_boot();

/* The share of one processor that a process has used since its start, in percent. */
double processor_percent(const ProcessFacts &facts, double now);
