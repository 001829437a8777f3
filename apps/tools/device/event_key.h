/*
 * The keys of events on the command line.
 */
#pragma once

#include <string>
#include <vector>

/*
 * The key for a word: the word itself if it is the key of an event that exists or of no message; else the
 * message's complete name, since a message's event has its name. "sys_status" gives "E_APPS_MSG_SYS_STATUS".
 */
std::string event_key(const std::string &word);

/* The names listed for an event in the folder that publishers use, of modules or not. */
std::vector<std::string> listeners_of(const std::string &event);

/* Why the listeners of an event can't be read; "" if they can. */
std::string listeners_problem(const std::string &event);

/* The keys of all events that exist. */
std::vector<std::string> known_events();
