/*
 * Converts typed values between command line words and the texts that the database stores.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/* The names of the types that --type takes. */
std::vector<std::string> type_names();

/* The type with this name, or 0. */
int32_t type_named(const std::string &name);

/*
 * Converts a word to the text that a module stores for a value of the type. Stricter than a module's parser:
 * refuses characters after a number, and numbers out of range. Returns "" or the problem.
 */
std::string to_stored(int32_t type, const std::string &word, std::string *stored);

/* Parses a stored text as a module does, and converts the value to a word. Returns "" or the problem. */
std::string to_shown(int32_t type, const std::string &stored, std::string *word);
