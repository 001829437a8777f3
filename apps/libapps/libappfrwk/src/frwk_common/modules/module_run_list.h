/*
 * The start-up list, applied to the module table.
 */
#pragma once

namespace modules {

/* Marks every module that the list names. Only at start-up, on one thread. */
void load_run_list();

}  // namespace modules
