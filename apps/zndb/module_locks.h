/*
 * Which modules a process is, by the kernel's word: whose instance locks it holds.
 */
#pragma once

#include <cstdint>

#include "frwk_module.h"

/* Modules as bits, by their ids. */
using ModuleSet = uint64_t;
static_assert(E_APPS_MODULE_MAX <= 64);

constexpr ModuleSet module_bit(uint32_t id) {
    return ModuleSet{1} << id;
}

/*
 * Returns the modules whose instance lock a process holds. Asks the kernel for each lock file that exists.
 * The locks of the database's own module are not looked for: to close its lock file would release it.
 */
ModuleSet modules_of(int32_t process);
