/*
 * Error messages of a tool: one line on standard error, starting with the tool's name.
 */
#pragma once

#include <string>

#include "apps_err.h"
#include "cli/exit_code.h"

/* Prints a line and returns the code, so that a failure needs only one return statement. */
ExitCode complain(ExitCode code, const std::string &text);

/* A result code and its name: "2001 E_APPS_ERR_ZNDB_NO_FOUND". */
std::string code_text(apps_err_e_type code);

/* The failed operation and the system's text for an errno value: "can't read x: ...". */
std::string errno_text(const std::string &what, int error);
