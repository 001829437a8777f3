/*
 * Fuzzes the output of top and mpstat.
 *
 * The input is the output of both.
 */
#include "frwk_common.h"
#include "support/fuzz_input.h"
#include "support/tool_stand_in.h"

namespace {

constexpr uint32_t kUntouched = 0x5A5A5A5A;

/* Whether the state is unchanged, or its used share is the rest of the idle one. */
void check(void (*get)(frwk_cpustate *), const char *command) {
    frwk_cpustate state = {kUntouched, kUntouched, kUntouched, kUntouched, kUntouched};
    get(&state);
    FUZZ_CHECK(last_command() == command);
    const bool none_found = state.usage == kUntouched && state.usr == kUntouched && state.sys == kUntouched &&
                            state.nic == kUntouched && state.idle == kUntouched;
    FUZZ_CHECK(none_found || state.usage == 100 - state.idle);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    tools_print(FuzzInput(data, size).rest());
    check(frwk_get_cpustate_top, "top -n1");
    check(frwk_get_cpustate_mpstat, "mpstat -u 1 1");
    check(frwk_get_cpustate, "mpstat -u 1 1");
    return 0;
}
