/*
 * Checks the text of a start-up list. Pure.
 */
#pragma once

#include <string>
#include <vector>

#include "apptest/config_finding.h"

/* own_modules: those of the module configuration that are not built in. */
ConfigFindings check_startup_list(const std::string &text, const std::vector<std::string> &own_modules);
