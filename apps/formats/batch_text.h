/*
 * The changes of a batch as a text: the journal's line of each, then a line with their number, which shows
 * that the text is complete:
 *
 *   P+key=value
 *   M-key
 *   =2
 *
 * Pure; does not access files.
 */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "formats/journal_record.h"
#include "zndb_ext.h"

/* The longest text. */
inline constexpr size_t kBatchTextMax = ZNDB_BATCH_MAX * (kRecordLineMax + 1) + sizeof("=64");

/* Returns the text of changes, 1 to ZNDB_BATCH_MAX. Their texts must be such as a line can hold. */
std::string format_batch(const std::vector<JournalRecord> &changes);

/*
 * Reads a text.
 * changes: receives the changes, whose texts point into text; undefined on failure.
 * Returns false for a text that is incomplete or malformed.
 */
bool parse_batch(std::string_view text, std::vector<JournalRecord> &changes);
