/*
 * The module configuration file, applied to the module table.
 */
#pragma once

/* Applies the file, if it exists, to the rows of all modules. Only at start-up, on one thread. */
void frwk_load_module_param();
