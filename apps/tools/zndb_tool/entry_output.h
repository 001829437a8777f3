/*
 * The settings of a store on standard output.
 */
#pragma once

#include <string>
#include <vector>

#include "zndb_tool/entry_lines.h"

/* For people: a heading, then a line for each setting. */
void print_entries(const std::string &heading, const Entries &entries);

/* Lines of key=value that an import reads. */
void print_entry_lines(const Entries &entries);

/* Words, one a line, each with the same prefix. */
void print_words(const std::string &prefix, const std::vector<std::string> &words);
