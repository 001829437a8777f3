/*
 * One key and its value as a line of text, as the store files and the journal hold it: key=value. Pure
 * text; knows nothing of files.
 */
#pragma once

#include <cstddef>
#include <string_view>

#include "zndb.h"

/* The longest line, its end not included. */
inline constexpr size_t kEntryLineMax = ZNDB_KEY_LEN - 1 + 1 + ZNDB_VALUE_LEN - 1;

/* A key and its value; the text is someone else's. */
struct Entry {
    std::string_view key;
    std::string_view value;
};

/* Returns why a line can't hold the key, as a text for people, or null when it can. */
const char *key_problem(std::string_view key);

/* Returns why a line can't hold the value, as a text for people, or null when it can. */
const char *value_problem(std::string_view value);

/*
 * Splits a line, its end not included, at its first '='.
 * entry: receives the parts, which point into line; unchanged on failure.
 * Returns null, or what is wrong with the line.
 */
const char *parse_entry(std::string_view line, Entry &entry);
