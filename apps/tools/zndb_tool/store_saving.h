/*
 * Saves stores and reports each that could not be saved.
 */
#pragma once

#include <string>

#include "zndb_tool/store_request.h"
#include "zndb_tool/zndb_options.h"

ExitCode report_store_outcome(const RequestOutcome &outcome, const std::string &what,
                              const std::string &hint = "");

/* Saves the plain and the perm store. about_plain, about_perm: whether a failure of that store fails the
 * command. */
ExitCode save_both(bool about_plain, bool about_perm, const std::string &hint = "");

/* Saves the changed store if --save was given. */
ExitCode save_if_wanted(const ZndbOptions &options);
