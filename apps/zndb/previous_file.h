/*
 * The file before the last save, FILE.previous: what is left where flash has damaged the file. One thread at
 * a time.
 */
#pragma once

#include <string>

std::string previous_of(const std::string &path);

/*
 * Keeps the file as the previous one, directly before it is replaced: a link, or a copy where there are no
 * links. Does nothing without a file. A failure is logged and leaves the one from before, since a save is
 * worth more.
 */
void keep_as_previous(const std::string &path);

/* Puts the previous file in the place of a damaged one, and syncs it. Returns 0 or an errno value. */
int bring_previous_back(const std::string &path);

/*
 * Removes the previous file if a save has failed with this errno value for want of space. Logs that. Returns
 * whether there was one.
 */
bool give_previous_up(const std::string &path, int error);
