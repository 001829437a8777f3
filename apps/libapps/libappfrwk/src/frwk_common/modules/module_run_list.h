/*
 * The start-up list, applied to the module table.
 */
#pragma once

/* Marks every module that the list names. Only at start-up, on one thread. */
void frwk_load_module_run();
