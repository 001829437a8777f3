/*
 * One change as a line of the journal. A letter names the store, a sign the change:
 *
 *   P+key=value   set        P plain
 *   M-key         delete     M perm
 *   F!            clear      F factory overlay
 *
 * Pure; does not access files.
 */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "formats/entry_line.h"

/* The stores that can be changed. */
enum class StoreId {
    kPlain,
    kPerm,
    kFactory
};

inline constexpr StoreId kStoreIds[] = {StoreId::kPlain, StoreId::kPerm, StoreId::kFactory};

/* A change; the texts are borrowed. */
struct JournalRecord {
    enum class Change {
        kSet,
        kErase,
        kClear
    };

    StoreId store;
    Change change;
    std::string_view key;   /* empty for kClear */
    std::string_view value; /* kSet only */
};

/* The longest line, its end not included. */
inline constexpr size_t kRecordLineMax = 2 + kEntryLineMax;

/* Returns the record's line, its LF included. The texts must be such as a line can hold. */
std::string format_record(const JournalRecord &record);

/* Adds the same line to a text. */
void append_record(std::string &text, const JournalRecord &record);

/* Returns the length of that line. */
size_t record_size(const JournalRecord &record);

/*
 * Parses a line, without its LF.
 * record: receives the change, whose texts point into line; unchanged on failure.
 * Returns null, or the reason why the line is malformed.
 */
const char *parse_record(std::string_view line, JournalRecord &record);
