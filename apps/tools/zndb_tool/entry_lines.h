/*
 * Entries as lines of key=value, the format of the database's files and of imports and exports. Empty lines
 * and lines that begin with '#' are ignored; a CR before the line end is dropped; the first '=' ends the key.
 * Pure.
 */
#pragma once

#include <string>
#include <vector>

#include "formats/store_values.h"

using Entries = StoreValues;

struct EntryLine {
    size_t number; /* from 1 */
    std::string key;
    std::string value;
    std::string problem; /* why the line is malformed; "" if it is not */
};

/* The lines of a text, in order, without comments and empty lines. */
std::vector<EntryLine> parse_entry_lines(const std::string &text);

/* Why a key or a value can't be sent to the database; "" if it can. */
std::string unsendable_key(const std::string &key);
std::string unsendable_value(const std::string &value);

/* The entries as lines, sorted by key. */
std::string format_entries(const Entries &entries);
