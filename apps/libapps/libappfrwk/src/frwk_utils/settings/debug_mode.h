/*
 * The script that starts and stops the device's debug services.
 */
#pragma once

#include <cstdint>

namespace settings {

/*
 * Runs the debug-mode script. start: 0 stops the services, anything else starts them.
 * Returns the result of os_system, or 1 if the device has no such script.
 */
int32_t run_debug_script(int32_t start);

}  // namespace settings
