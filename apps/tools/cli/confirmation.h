/*
 * Asks before something that can't be undone.
 */
#pragma once

#include <string>

/*
 * Asks "WHAT? [y/N]" if standard input is a terminal; a script is not asked.
 *
 * yes: whether the user has agreed on the command line.
 * Returns whether to go on.
 */
bool is_confirmed(const std::string &what, bool yes);
