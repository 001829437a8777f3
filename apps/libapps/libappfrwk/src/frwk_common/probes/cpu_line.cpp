#include "frwk_common/probes/cpu_line.h"

#include <cstring>

#include "internal/decimal.h"
#include "support/letter_case.h"

namespace {

constexpr char kTopBegin[] = "CPU:";
constexpr char kMpstatBegin[] = "Average:";
constexpr char kAllProcessors[] = "all";

struct Label {
    const char *text;
    uint32_t frwk_cpustate::*member;
};

constexpr Label kTopLabels[] = {
    {"usr", &frwk_cpustate::usr},
    {"nic", &frwk_cpustate::nic},
    {"sys", &frwk_cpustate::sys},
    {"idle", &frwk_cpustate::idle},
};

constexpr uint32_t frwk_cpustate::*kMpstatColumns[] = {&frwk_cpustate::usr, &frwk_cpustate::nic,
                                                       &frwk_cpustate::sys};

bool begins_with(const char *text, const char *begin) {
    return same_ignoring_case(text, begin, std::strlen(begin));
}

/* Parses a per cent value, without its sign and fraction. */
uint32_t percent(const char *text) {
    return static_cast<uint32_t>(decimal_number(text));
}

void store_labelled(const char *label, uint32_t value, frwk_cpustate *state) {
    for (const Label &known : kTopLabels) {
        if (begins_with(label, known.text)) {
            state->*known.member = value;
        }
    }
}

}  // namespace

bool is_top_cpu_line(const char *line) {
    return begins_with(line, kTopBegin);
}

void parse_top_cpu_line(const char *line, frwk_cpustate *state) {
    const char *number = frwk_skip_space(line + std::strlen(kTopBegin));
    while (number != nullptr) {
        const char *label = frwk_skip_next_space(number);
        if (label == nullptr) {
            return;
        }
        store_labelled(label, percent(number), state);
        number = frwk_skip_next_space(label);
    }
}

bool is_mpstat_cpu_line(const char *line) {
    if (!begins_with(line, kMpstatBegin)) {
        return false;
    }
    const char *processor = frwk_skip_next_space(line);
    return processor != nullptr && std::strncmp(processor, kAllProcessors, std::strlen(kAllProcessors)) == 0;
}

bool parse_mpstat_cpu_line(const char *line, frwk_cpustate *state) {
    const char *token = frwk_skip_next_space(line); /* "all" */
    for (uint32_t frwk_cpustate::*member : kMpstatColumns) {
        const char *next = frwk_skip_next_space(token);
        if (next == nullptr) {
            return false;
        }
        state->*member = percent(next);
        token = next;
    }

    const char *blank = std::strrchr(token, ' ');
    const char *separator = blank != nullptr ? blank : std::strrchr(token, '\t');
    if (separator == nullptr) {
        return false;
    }
    state->idle = percent(separator + 1);
    return true;
}
