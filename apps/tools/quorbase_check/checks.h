/*
 * The checks of the contract's functions: check_NAME for each, so that a function without one does not link.
 * A check runs in a process of its own (examination.h).
 */
#pragma once

#include "examination.h"

namespace checks {

#define CONTRACT_ROW(name, origin, header) void check_##name(const Examination &that);
#include "platform_contract.inc"
#undef CONTRACT_ROW

}  // namespace checks
