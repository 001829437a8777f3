/*
 * What becomes visible by watching processes: their processor share between two readings, and restarts. Pure.
 */
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "monitor_tool/module_report.h"

class ProcessTrend {
  public:
    /*
     * Takes a reading. A process that was seen before gets its share since then, instead of since its start;
     * a module that has another process than before gets a restart.
     *
     * now: in seconds_since_boot.
     */
    void add(std::vector<ModuleReport> &reports, double now);

  private:
    struct Seen {
        pid_t process = 0; /* the last one; 0 before the first */
        double started = 0;
        double processor_seconds = 0;
        double at = 0;
        uint32_t restarts = 0;
    };

    static void add_one(ModuleReport &report, Seen &seen, double now);

    std::map<int32_t, Seen> seen_; /* by module */
};
