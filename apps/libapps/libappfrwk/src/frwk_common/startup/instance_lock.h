/*
 * One process per daemon module: a lock file that is held for the life of the process.
 */
#pragma once

/*
 * Takes the lock of a module. When another process holds it, or it can't be had, it prints the reason to
 * standard error and ends the process with status 255.
 */
void take_instance_lock(const char *module_name);
