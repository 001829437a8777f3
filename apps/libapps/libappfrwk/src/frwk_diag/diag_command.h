/*
 * From a diagnostic's request to the tool's command line. Runs nothing; any thread.
 */
#pragma once

#include "frwk_diag.h"
#include "internal/shell_command.h"

/* Room for the longest request: two host names and a path leave some 300 bytes of it free. */
using DiagCommand = ShellCommand<1024>;

/* The short name of a type, as in its file names and messages; null for any other number. */
const char *diag_name(int32_t type);

/*
 * Checks the request's names and adds the tool's command line, with its output going to path.
 *
 * type: a valid one.
 * Returns false, with the reason logged and nothing to be run, when a name is refused.
 */
bool add_diag_command(int32_t type, const frwk_diag_req &req, const char *path, DiagCommand *command);
