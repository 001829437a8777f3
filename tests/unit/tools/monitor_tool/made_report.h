/*
 * Reports of modules for tests.
 */
#pragma once

#include <string>

#include "frwk_module.h"
#include "monitor_tool/module_report.h"

inline ModuleReport stopped(const std::string &name) {
    return {{1, name, "", FRWK_FLAG_DAEMON, true, 0}, {}, std::nullopt, 0, 0, 0};
}

inline ModuleReport running(const std::string &name, uint32_t bytes, int64_t microseconds) {
    ModuleReport report = stopped(name);
    report.facts.process = 1;
    report.result.probe.sent = E_APPS_ERR_SUCCESS;
    report.result.microseconds = microseconds;
    report.result.memory = os_mem_usage_t{bytes, bytes, 1, 1, 0, 0};
    return report;
}

/* With a process that has used so many percent of a processor and so much memory. */
inline ModuleReport busy(const std::string &name, double percent, uint64_t resident) {
    ModuleReport report = running(name, 0, 500);
    report.facts.process = 812;
    report.process = ProcessFacts{0, 0, 3, resident};
    report.processor = percent;
    report.uptime = 3723;
    return report;
}

inline ModuleReport hanging(const std::string &name) {
    ModuleReport report = running(name, 0, 0);
    report.result = {};
    report.result.probe.sent = E_APPS_ERR_TIMEOUT;
    return report;
}

/* In the start-up list. */
inline ModuleReport dead(const std::string &name) {
    ModuleReport report = stopped(name);
    report.facts.flags |= FRWK_FLAG_RUN;
    return report;
}
