/*
 * The content of a whole store, read from the database's files and its journal; no message lists the keys.
 * What it gives is what the database holds, whether it runs or not.
 */
#pragma once

#include <string>

#include "zndb_tool/entry_lines.h"
#include "zndb_tool/store_request.h"

/* The name of a store, and the files that it is kept in, for people. */
const char *store_name(Store store);
std::string store_paths(Store store);

/* Reads a store. Returns "" or, with entries left alone, why it can't be read. */
std::string read_store(Store store, Entries *entries);
