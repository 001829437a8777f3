/*
 * The start-up list, applied to the module table.
 */
#pragma once

/* Marks every module that the list names. At start-up only: one thread. */
void frwk_load_module_run();
