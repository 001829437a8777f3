/*
 * Patterns for keys. Pure.
 */
#pragma once

#include <string>

/* The part of a pattern before its first wildcard, with which every matching key begins. */
std::string fixed_part(const std::string &pattern);

/*
 * Whether a key matches a pattern: '*' stands for any text, '?' for a character, and [...] for one of
 * several. A pattern without these matches every key that begins with it.
 */
bool matches(const std::string &key, const std::string &pattern);
