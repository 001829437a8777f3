/*
 * The module configuration file, applied to the module table.
 */
#pragma once

namespace modules {

/* Applies the file, if it exists, to the rows of all modules. Only at start-up, on one thread. */
void load_config();

}  // namespace modules
