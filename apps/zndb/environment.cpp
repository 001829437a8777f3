#include "environment.h"

#include <cstdlib>

#include "os_log.h"

const char *environment_text(const char *name) {
    const char *text = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody changes the environment
    return text != nullptr && text[0] != '\0' ? text : nullptr;
}

std::optional<unsigned long> whole_number(const char *text, int base, unsigned long max) {
    char *end = nullptr;
    const unsigned long number = std::strtoul(text, &end, base);
    const bool whole = text[0] >= '0' && text[0] <= '9' && *end == '\0';
    return whole && number <= max ? std::optional(number) : std::nullopt;
}

void warn_ignored(const char *name, const char *text) {
    OS_LOG(OS_LOG_WARNING, "%s=%s is ignored", name, text);
}
