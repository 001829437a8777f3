/*
 * Entries as a text that the tool imports and exports: lines as the database's files hold them. Of a line
 * that is no entry it says why; what the database thinks of one is found out by sending it. Pure.
 */
#pragma once

#include <map>
#include <string>
#include <vector>

using Entries = std::map<std::string, std::string>;

struct EntryLine {
    size_t number; /* from 1 */
    std::string key;
    std::string value;
    std::string problem; /* why it is no entry; "" when it is one */
};

/* The lines of a text that mean something, in order. */
std::vector<EntryLine> parse_entry_lines(const std::string &text);

/* Why a key or a value can't be sent, whatever the database thinks of it; "" when it can. */
std::string unsendable_key(const std::string &key);
std::string unsendable_value(const std::string &value);

/* The entries as lines, sorted by key. */
std::string format_entries(const Entries &entries);
