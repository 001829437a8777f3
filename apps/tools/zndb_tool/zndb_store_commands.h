/*
 * The commands of zndb_tool for complete stores.
 */
#pragma once

#include "cli/exit_code.h"
#include "zndb_tool/zndb_options.h"

ExitCode dump_stores(const ZndbOptions &options);
ExitCode export_store(const ZndbOptions &options);

/* Checks every line before it sets the first key. */
ExitCode import_store(const ZndbOptions &options);
