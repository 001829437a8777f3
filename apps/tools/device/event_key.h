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

/* Whether a word stands for several events: it has a character of a shell's pattern, and no event has this
 * key. */
bool is_event_pattern(const std::string &word);

/*
 * The keys that a pattern matches, in upper or lower case: of the events that exist, and of the messages,
 * with or without E_APPS_MSG_. In alphabetical order.
 */
std::vector<std::string> event_keys_like(const std::string &pattern);

/* The names listed for an event in the folder that publishers use, of modules or not. */
std::vector<std::string> listeners_of(const std::string &event);

/* Why the listeners of an event can't be read; "" if they can. */
std::string listeners_problem(const std::string &event);

/* The keys of all events that exist. */
std::vector<std::string> known_events();
