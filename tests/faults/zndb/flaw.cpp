#include "faults/zndb/flaw.h"

#include <cstdio>

#include "os_log.h"

namespace faults {

namespace {

/* Of fixed size, so that it is no block that a call has left. */
char g_flaw[512];

}  // namespace

bool is_flawless() {
    return g_flaw[0] == '\0';
}

void forget_flaw() {
    g_flaw[0] = '\0';
}

void note_flaw(const std::string &text) {
    if (is_flawless()) {
        (void)std::snprintf(g_flaw, sizeof(g_flaw), "%s", text.c_str());
        OS_LOG(OS_LOG_WARNING, "%s", g_flaw);
    }
}

void note_flaw_unless(bool holds, const std::string &text) {
    if (!holds) {
        note_flaw(text);
    }
}

void compare_answers(const Answers &expected, const Answers &found, const std::string &where) {
    for (const auto &[key, value] : expected) {
        const std::string &given = found.at(key);
        note_flaw_unless(given == value, where + " has for '" + key + "' the value '" + given.substr(0, 20) +
                                             "' in place of '" + value.substr(0, 20) + "'");
    }
}

}  // namespace faults
