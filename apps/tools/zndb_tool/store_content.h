/*
 * The content of a store: the database lists it, or, if it doesn't answer within a second, its files and
 * journals are read.
 */
#pragma once

#include <string>

#include "zndb_tool/entry_lines.h"
#include "zndb_tool/store_request.h"

/* Reads a store. Returns "" or the problem; entries is then unchanged. */
std::string read_store(Store store, Entries *entries);
