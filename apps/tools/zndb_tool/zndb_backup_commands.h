/*
 * The commands of zndb_tool that back up and restore the user configuration.
 */
#pragma once

#include "cli/exit_code.h"
#include "zndb_tool/zndb_options.h"

/* An existing file is only replaced by a complete backup. */
ExitCode back_up(const ZndbOptions &options);

/* The file is kept: the library consumes a copy. */
ExitCode restore(const ZndbOptions &options);
