/*
 * Functions of our base library that a device's library may lack. They are null then, and each caller has a
 * fallback.
 */
#pragma once

#include <cstdint>

#include "os_mem.h"
#include "os_process.h"

extern "C" {

int32_t os_mem_zeroing(int32_t on) __attribute__((weak));
void os_command_scope_open(void) __attribute__((weak));
int32_t os_command_scope_close(void) __attribute__((weak));
int32_t os_command_untranslated(int32_t on) __attribute__((weak));

}  // extern "C"
