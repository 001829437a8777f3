/*
 * Records violations in the middle of a run: the run continues, and the test fails at its end.
 */
#pragma once

#include <string>

#include "faults/zndb/zndb_world.h"

namespace faults {

/* Starts another run. */
void forget_flaw();

/* Whether no flaw was recorded. */
bool is_flawless();

/* Records a flaw, only the first one of a run, and logs it for the failed test's message. */
void note_flaw(const std::string &text);
void note_flaw_unless(bool holds, const std::string &text);

/* The first difference is a flaw. */
void compare_answers(const Answers &expected, const Answers &found, const std::string &where);

}  // namespace faults
