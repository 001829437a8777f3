/*
 * Builds a tool's command line from a diagnostic request. Runs nothing; any thread.
 */
#pragma once

#include "frwk_diag.h"
#include "internal/shell_command.h"

/* Enough for the longest request: with two host names and a path some 300 bytes are left. */
using DiagCommand = ShellCommand<1024>;

/* The short name of a type for file names and messages; null for an unknown type. */
const char *diag_name(int32_t type);

/*
 * Checks the request's names and adds the tool's command line, with its output redirected to path.
 *
 * type: a valid type.
 * Returns false, and logs the reason, if a name is refused; the command must not be run then.
 */
bool add_diag_command(int32_t type, const frwk_diag_req &req, const char *path, DiagCommand *command);
