/*
 * Reads the records of an open journal. One thread at a time.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "formats/journal_record.h"

/* What was read of a journal. */
struct JournalLines {
    int error;     /* 0, or the errno value of the read that failed */
    uint64_t size; /* of the complete lines in bytes */
    bool is_torn;  /* an incomplete line follows them, which was never answered */
};

/*
 * Passes the records in turn to take, which returns null, or the reason why it skips a record. Reports what
 * is skipped, damaged lines included.
 */
JournalLines read_journal(int fd, const std::string &path,
                          const std::function<const char *(const JournalRecord &record)> &take);
