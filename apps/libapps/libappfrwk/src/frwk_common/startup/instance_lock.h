/*
 * Ensures a single process per daemon module with a lock file that stays locked until the process ends.
 */
#pragma once

/*
 * Takes the lock of a module. If that fails, for example because another process holds it, prints the reason
 * to standard error and ends the process with status 255.
 */
void take_instance_lock(const char *module_name);
