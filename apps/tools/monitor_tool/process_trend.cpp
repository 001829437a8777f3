#include "monitor_tool/process_trend.h"

namespace {

constexpr double kPerCent = 100;

}  // namespace

void ProcessTrend::add_one(ModuleReport &report, Seen &seen, double now) {
    const ProcessFacts &facts = *report.process;
    const bool same = seen.process == report.facts.process && seen.started == facts.started;
    if (same && now > seen.at) {
        report.processor = kPerCent * (facts.processor_seconds - seen.processor_seconds) / (now - seen.at);
    }
    if (!same && seen.process != 0) {
        ++seen.restarts;
    }
    seen = {report.facts.process, facts.started, facts.processor_seconds, now, seen.restarts};
}

void ProcessTrend::add(std::vector<ModuleReport> &reports, double now) {
    for (ModuleReport &report : reports) {
        Seen &seen = seen_[report.facts.id];
        if (report.process) {
            add_one(report, seen, now);
        }
        report.restarts = seen.restarts;
    }
}
