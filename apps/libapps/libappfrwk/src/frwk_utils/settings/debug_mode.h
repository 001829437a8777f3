/*
 * The script that switches the device's debug services.
 */
#pragma once

#include <cstdint>

/*
 * Runs the debug-mode script. start: 0 stops the services, anything else starts them.
 * Returns what os_system returns, or 1 when the device has no such script.
 */
int32_t frwk_debug_mode_shell(int32_t start);
