/*
 * The module configuration file, applied to the module table.
 */
#pragma once

/* Applies the file, when it exists, to the rows of all modules. At start-up only: one thread. */
void frwk_load_module_param();
