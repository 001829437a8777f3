/*
 * Reads the content of a store from the database's files and journals, without the database. The result
 * equals the database's content, whether it runs or not.
 */
#pragma once

#include <string>

#include "zndb_tool/entry_lines.h"
#include "zndb_tool/store_request.h"

/* The name of a store and its files, for messages. */
const char *store_name(Store store);
std::string store_paths(Store store);

/* Reads a store. Returns "" or the problem; entries is then unchanged. */
std::string read_store_files(Store store, Entries *entries);

/* The same for the defaults of the image alone. */
std::string read_image_defaults(Entries *entries);
