/*
 * Hints on what to do about a result code. Pure.
 */
#pragma once

#include <string>

#include "apps_err.h"

/* "; HINT" for a code with which a module refused a request, or "" for a code without a hint. */
std::string code_hint(apps_err_e_type code);
