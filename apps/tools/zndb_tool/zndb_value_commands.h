/*
 * The commands of zndb_tool that read and change single settings.
 */
#pragma once

#include "cli/exit_code.h"
#include "zndb_tool/zndb_options.h"

ExitCode get_values(const ZndbOptions &options);
ExitCode set_value(const ZndbOptions &options);
ExitCode delete_keys(const ZndbOptions &options);
ExitCode save_changes(const ZndbOptions &options);
ExitCode reset_settings(const ZndbOptions &options);

/* Saves if --save was given. */
ExitCode save_if_wanted(const ZndbOptions &options);

/* Saves unless --no-save was given: a backup has the content of the files. */
ExitCode save_before_backup(const ZndbOptions &options);
