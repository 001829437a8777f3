/*
 * The limits that a module's environment may set.
 */
#pragma once

/*
 * Sets the limits of process_state.h by the environment. A variable that is not set changes nothing; nor does
 * one that is no number of up to nine digits, which is logged.
 */
void read_process_limits();
