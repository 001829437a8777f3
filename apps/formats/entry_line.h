/*
 * One key and its value as a line of text, as the store files and the journal hold it: key=value. Pure
 * text; knows nothing of files. docs/zndb.md describes both.
 */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "zndb.h"

/* The longest line, its end not included. */
inline constexpr size_t kEntryLineMax = ZNDB_KEY_LEN - 1 + 1 + ZNDB_VALUE_LEN - 1;

/* The maximum number of keys that a store accepts from its file or from clients. */
inline constexpr size_t kStoreKeysMax = 16384;

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
 * Returns what a line of a store's file says, its LF not included. A comment says nothing, and a CR at the
 * end of the line doesn't count.
 */
std::string_view entry_text(std::string_view line);

/* Why a comment would be an entry to a restore, as comment_problem returns it. */
inline constexpr char kBrokenComment[] = "the comment holds a CR or NUL";

/*
 * Returns null, or why a line that says nothing here would be an entry to a restore of the file: a restore
 * also ends a line at a CR, and reads no further than a NUL.
 */
const char *comment_problem(std::string_view line);

/*
 * Splits a text at its first '=', whatever a line can hold.
 * entry: receives the parts, which point into text; unchanged on failure.
 * Returns false when there is no '='.
 */
bool split_entry(std::string_view text, Entry &entry);

/*
 * The same for a text that must be such as append_entry writes.
 * Returns null, or what is wrong with the text.
 */
const char *parse_entry(std::string_view text, Entry &entry);

/* Adds the entry's line to a text, its LF included. */
void append_entry(std::string &text, const Entry &entry);
