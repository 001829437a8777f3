#include "skipped_lines.h"

#include "os_log.h"

namespace {

constexpr uint64_t kReportedSingly = 20;

}  // namespace

void SkippedLines::report(uint64_t number, const char *problem) {
    if (++count_ <= kReportedSingly) {
        OS_LOG(OS_LOG_WARNING, "%s line %llu skipped: %s", path_.c_str(),
               static_cast<unsigned long long>(number), problem);
    }
}

void SkippedLines::report_rest() const {
    if (count_ > kReportedSingly) {
        OS_LOG(OS_LOG_WARNING, "%s: %llu more lines skipped", path_.c_str(),
               static_cast<unsigned long long>(count_ - kReportedSingly));
    }
}
