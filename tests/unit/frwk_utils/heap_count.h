/*
 * Counts the heap blocks that the process takes, whoever asks for them: the code under test, the base
 * library, the C library.
 */
#pragma once

#include "os_log.h"

/* Blocks taken so far by all threads. */
unsigned long heap_blocks_taken();

/* Keeps the system log silent while it lives: what the channel takes for a line is not the tested code's. */
class SilentLog {
  public:
    SilentLog() : level_before_(g_syslog_level) { g_syslog_level = 0; }
    ~SilentLog() { g_syslog_level = level_before_; }
    SilentLog(const SilentLog &) = delete;
    SilentLog &operator=(const SilentLog &) = delete;

  private:
    int level_before_;
};
