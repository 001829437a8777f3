/*
 * The settings of a store on standard output.
 */
#pragma once

#include <string>
#include <vector>

#include "output/json_output.h"
#include "zndb_tool/entry_lines.h"

/* A heading, then a line for each setting. */
void print_entries(const std::string &heading, const Entries &entries);

/* Lines of key=value, for an import. */
void print_entry_lines(const Entries &entries);

/* A JSON object with a text for each setting. */
Json json_of_entries(const Entries &entries);

/* Words, one per line, each with the same prefix. */
void print_words(const std::string &prefix, const std::vector<std::string> &words);
