/*
 * The command of apptest that loads a module with requests.
 */
#pragma once

#include "apptest/apptest_options.h"

/* Ctrl-C ends the run early, and the results until then are printed. */
ExitCode load_module(const AppTestOptions &options);
