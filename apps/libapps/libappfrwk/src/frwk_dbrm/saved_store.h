/*
 * What the database's next save will do with the files of its stores, as far as the files show it. One thread
 * at a time.
 */
#pragma once

#include <cstdint>

#include "formats/journal_record.h"

namespace backup {

/* Whether the database has skipped a line of a store's file: a save then keeps the old file beside the new
 * one. False if the file can't be read. */
bool is_damaged(const char *path);

/* The bytes of a store's unsaved changes in the journal: its next file grows by that at most. */
uint64_t unsaved_bytes(StoreId store);

}  // namespace backup
