/*
 * Reports to the service manager that the database serves, as its clients would see it: each report follows
 * an answer of the service thread, so a service that hangs is noticed.
 */
#pragma once

#include "service_manager.h"

/*
 * Asks the service at a module's socket for its status, and waits for the answer without a limit. Returns
 * whether it serves: its handler is registered. Logs a failure.
 */
bool is_serving(const char *socket_path);

/*
 * Reports "READY=1" as soon as the service serves, then "WATCHDOG=1" as often as the manager expects it.
 * Returns only if it expects none.
 */
void report_health(const ServiceManager &manager, const char *socket_path);

/*
 * Does so for the database on a thread of its own, if the manager listens. manager: exists until the process
 * ends. If there is no thread, that is logged; the manager hears nothing, and restarts the service at its own
 * limit.
 */
void start_health_report(const ServiceManager &manager);
