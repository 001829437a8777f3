/*
 * A key and its value as a line of text, in the format of the store files and the journal: key=value. Pure.
 */
#pragma once

#include <string_view>

/* A key and its value; the texts are borrowed. */
struct Entry {
    std::string_view key;
    std::string_view value;
};

/* Returns null if a line can contain the key, else the reason as a text for the log. */
const char *key_problem(std::string_view key);

/* Returns null if a line can contain the value, else the reason as a text for the log. */
const char *value_problem(std::string_view value);

/*
 * Splits a line, without its line end, at its first '='.
 * entry: receives the parts, which point into line; unchanged on failure.
 * Returns null, or the reason why the line is malformed.
 */
const char *parse_entry(std::string_view line, Entry &entry);
