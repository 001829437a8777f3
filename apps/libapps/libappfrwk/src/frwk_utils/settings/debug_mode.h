/*
 * The script that starts and stops the device's debug services.
 */
#pragma once

#include <cstdint>

/*
 * Runs the debug-mode script. start: 0 stops the services, anything else starts them.
 * Returns the result of os_system, or 1 if the device has no such script.
 */
int32_t frwk_debug_mode_shell(int32_t start);
