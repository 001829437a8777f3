#include "formats/module_facility.h"

#include <cstddef>

#include "support/letter_case.h"

namespace {

/* The words of the facilities from 1 on. */
constexpr const char *kWords[] = {"AUTH",          "AUTHPRIV",      "CRON",          "OS_LOG_DAEMON",
                                  "FTP",           "KERN",          "OS_LOG_LOCAL0", "OS_LOG_LOCAL1",
                                  "OS_LOG_LOCAL2", "OS_LOG_LOCAL3", "OS_LOG_LOCAL4", "OS_LOG_LOCAL5",
                                  "OS_LOG_LOCAL6", "OS_LOG_LOCAL7", "LPR",           "MAIL",
                                  "NEWS",          "SYSLOG",        "USER",          "UUCP"};
constexpr uint32_t kCount = sizeof(kWords) / sizeof(kWords[0]);

}  // namespace

uint32_t facility_in(const char *text) {
    for (uint32_t facility = 1; facility <= kCount; ++facility) {
        if (same_ignoring_case(text, facility_word(facility))) {
            return facility;
        }
    }
    return 0;
}

const char *facility_word(uint32_t facility) {
    return facility >= 1 && facility <= kCount ? kWords[facility - 1] : nullptr;
}
