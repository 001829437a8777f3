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

/*
 * The most changes of a batch. One request has up to ZNDB_BATCH_MAX, but a revert to the last save may change
 * in each of the three stores every key of a full file, and as many others.
 */
inline constexpr size_t kBatchChangesMax = 6 * kStoreKeysMax;

/* The longest text. */
inline constexpr size_t kBatchTextMax = kBatchChangesMax * (kRecordLineMax + 1) + sizeof("=98304");

/* Returns the text of changes, 1 to kBatchChangesMax. Their texts must be such as a line can hold. */
std::string format_batch(const std::vector<JournalRecord> &changes);

/*
 * Reads a text.
 * changes: receives the changes, whose texts point into text; undefined on failure.
 * Returns false for a text that is incomplete or malformed.
 */
bool parse_batch(std::string_view text, std::vector<JournalRecord> &changes);
