/*
 * One line of a store's file: an entry, or a comment or empty line that has none. Pure; does not access
 * files.
 */
#pragma once

#include "formats/entry_line.h"
#include "support/line_reader.h"

/*
 * Reads a line.
 * entry: receives the key and value, whose texts point into the line; an empty key for a line that has none.
 * Returns null, or the reason why the line is damage: the database skips it and keeps a copy of the file.
 */
const char *read_store_line(const Line &line, Entry &entry);
