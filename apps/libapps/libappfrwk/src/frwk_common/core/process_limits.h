/*
 * The limits that a module's environment may set.
 */
#pragma once

/*
 * Sets the limits of process_state.h from the environment. A variable that is not set is ignored. One that is
 * not a number of up to nine digits is logged and ignored.
 */
void read_process_limits();
