/*
 * Checks the text of a module configuration file: what a module that starts would ignore, or read as
 * something else than its author meant. Pure.
 */
#pragma once

#include <string>
#include <vector>

#include "apptest/config_finding.h"

struct ModuleConfigCheck {
    ConfigFindings findings;
    std::vector<std::string> own_modules; /* those that are not built in */
};

ModuleConfigCheck check_module_config(const std::string &text);
