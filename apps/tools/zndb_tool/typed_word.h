/*
 * Values of a type as words on a command line, and as the texts that the database keeps.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/* The names of the types that --type takes. */
std::vector<std::string> type_names();

/* The type of a name, or 0. */
int32_t type_named(const std::string &name);

/*
 * Writes a word as the text that a module stores for a value of the type. Unlike a module's reading, nothing
 * is forgiven: no characters behind a number, and no number out of range. Returns "" or what is wrong.
 */
std::string to_stored(int32_t type, const std::string &word, std::string *stored);

/* Reads a stored text as a module does, and writes the value as a word. Returns "" or what is wrong. */
std::string to_shown(int32_t type, const std::string &stored, std::string *word);
