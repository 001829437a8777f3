/*
 * The commands of zndb_tool that carry the whole user configuration to a file and back.
 */
#pragma once

#include "cli/exit_code.h"
#include "zndb_tool/zndb_options.h"

/* A file that was there before is only replaced by a whole backup. */
ExitCode back_up(const ZndbOptions &options);

/* The file stays: what the library consumes is a copy. */
ExitCode restore(const ZndbOptions &options);
