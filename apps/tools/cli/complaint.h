/*
 * What a tool says when something is wrong: one line on standard error, the tool's name in front.
 */
#pragma once

#include <string>

#include "apps_err.h"
#include "cli/exit_code.h"

/* Prints a line and returns the code, so that a failing step is one return. */
ExitCode complain(ExitCode code, const std::string &text);

/* A result code and its name, as every tool shows it: "2001 E_APPS_ERR_ZNDB_NO_FOUND". */
std::string code_text(apps_err_e_type code);

/* The system's words for an errno value, in front of them what could not be done: "can't read x: ...". */
std::string errno_text(const std::string &what, int error);
