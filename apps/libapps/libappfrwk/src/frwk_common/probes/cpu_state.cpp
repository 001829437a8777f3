/*
 * Runs tools to read the processor load; cpu_line.h parses their output. No state; any thread.
 */
#include <cstddef>
#include <cstring>

#include "frwk_common.h"
#include "frwk_common/probes/cpu_line.h"
#include "frwk_common/probes/tool_output.h"
#include "internal/frwk_log.h"
#include "text_copy.h"

namespace {

constexpr size_t kLineSize = 256 + 1;

/*
 * Runs a tool and returns the first line that is_wanted accepts, without blanks and line end at its end.
 *
 * caller: the function name in the log lines. line: receives the line.
 * Returns false, and logs the cause, on failure.
 */
bool find_line(LogName caller, const char *tool, const char *command, bool (*is_wanted)(const char *),
               char (&line)[kLineSize]) {
    ToolOutput output(command);
    if (!output) {
        FRWK_WARN(caller, "execute %s cmd error!", tool);
        return false;
    }
    while (output.next_line(line, sizeof(line))) {
        strdern(line, std::strlen(line));
        if (is_wanted(line)) {
            return true;
        }
    }
    FRWK_WARN(caller, "no cpu state in the output of %s!", tool);
    return false;
}

void finish(LogName caller, frwk_cpustate *state) {
    state->usage = 100 - state->idle;
    FRWK_DEBUG(caller, "usage=%u, usr=%u, sys=%u, nic=%u, idle=%u", state->usage, state->usr, state->sys,
               state->nic, state->idle);
}

}  // namespace

void frwk_get_cpustate_top(frwk_cpustate *state) {
    char line[kLineSize];
    if (state == nullptr || !find_line(__func__, "top", "top -n1", is_top_cpu_line, line)) {
        return;
    }
    FRWK_DEBUG(__func__, "%s", line);
    parse_top_cpu_line(line, state);
    finish(__func__, state);
}

void frwk_get_cpustate_mpstat(frwk_cpustate *state) {
    char line[kLineSize];
    if (state == nullptr || !find_line(__func__, "mpstat", "mpstat -u 1 1", is_mpstat_cpu_line, line)) {
        return;
    }
    if (!parse_mpstat_cpu_line(line, state)) {
        FRWK_WARN(__func__, "separate char is not whitespace or table!");
    }
    finish(__func__, state);
}

void frwk_get_cpustate(frwk_cpustate *state) {
    frwk_get_cpustate_mpstat(state);
}
