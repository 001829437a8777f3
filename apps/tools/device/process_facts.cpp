#include "device/process_facts.h"

#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iterator>

#include "formats/device_paths.h"

namespace {

constexpr double kPerCent = 100;
constexpr double kNanosecondsPerSecond = 1e9;

double seconds_of(uint64_t ticks) {
    return static_cast<double>(ticks) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

}  // namespace

/* The second part is the program's name in parentheses, which may hold anything, so the rest is counted from
 * the last parenthesis on: state, ten others, user and system time, four others, threads, one other, start,
 * one other, pages. */
std::optional<ProcessStatus> parse_process_status(const std::string &text) {
    const size_t name_end = text.rfind(')');
    uint64_t user = 0;
    uint64_t system = 0;
    ProcessStatus status = {};
    // NOLINTBEGIN(cert-err34-c): the kernel writes numbers that fit
    const int count =
        name_end == std::string::npos
            ? 0
            : std::sscanf(text.c_str() + name_end + 1,
                          " %*c %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %" SCNu64 " %" SCNu64
                          " %*s %*s %*s %*s %" SCNu32 " %*s %" SCNu64 " %*s %" SCNu64,
                          &user, &system, &status.threads, &status.start_ticks, &status.resident_pages);
    // NOLINTEND(cert-err34-c)
    status.ticks = user + system;
    return count == 5 ? std::optional<ProcessStatus>(status) : std::nullopt;
}

std::optional<ProcessFacts> process_facts(pid_t process) {
    if (process <= 0) {
        return std::nullopt;
    }
    std::ifstream file(std::string(paths::kProcessFolder) + "/" + std::to_string(process) + "/stat");
    const auto status = parse_process_status(std::string(std::istreambuf_iterator<char>(file), {}));
    if (!status) {
        return std::nullopt;
    }
    const auto page = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
    return ProcessFacts{seconds_of(status->ticks), seconds_of(status->start_ticks), status->threads,
                        status->resident_pages * page};
}

double seconds_since_boot() {
    timespec now = {};
    (void)::clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / kNanosecondsPerSecond;
}

/* A process that started within this tick has not run for a measurable time. */
double processor_percent(const ProcessFacts &facts, double now) {
    const double age = now - facts.started;
    return age > 0 ? kPerCent * facts.processor_seconds / age : 0;
}
