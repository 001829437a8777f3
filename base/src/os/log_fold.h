/*
 * An output for log lines that counts repeated lines instead of writing them, with its recent lines: related
 * failures often alternate.
 *
 * Nothing here allocates memory. One thread at a time for all objects.
 */
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "log_text.h"

class LogFold {
  public:
    using Write = void (*)(int level, const LogText &body);

    /* write: writes a line to the output. */
    explicit constexpr LogFold(Write write) : write_(write) {}

    /* Writes a line, or counts it as a repeat. */
    void put(int level, const LogText &body);

    /* Writes all counts that were not reported yet. */
    void write_counts();

    /* Writes these counts and forgets the recent lines, so that the next lines are written. */
    void forget_lines();

  private:
    /* Further identical lines in a second are only counted. */
    static constexpr size_t kShownInASecond = 10;

    /* The number of different lines that may alternate and are still recognised. */
    static constexpr size_t kKnownLines = 8;

    /* The length of a line's beginning in its count, if another line was written in between. */
    static constexpr size_t kShownBeginning = 160;

    /* A recent line: the data needed to recognise it and to count its repeats. */
    struct KnownLine {
        uint64_t hash = 0; /* of the text; 0 for none */
        int level = 0;
        int64_t came_at[kShownInASecond] = {}; /* the times of its last ten occurrences */
        size_t earliest = 0;                   /* of came_at */
        int64_t last_came_at = 0;
        long repeats = 0; /* since it was written */
        long counted = 0; /* how many of the repeats were reported */
        int64_t written_at = 0;
        pid_t counted_by = 0; /* the process that counted the last repeat */
        char beginning[kShownBeginning + 1] = {};
    };

    static bool came_earlier(const KnownLine &left, const KnownLine &right);
    static bool is_storm(KnownLine *known, int64_t now);
    static void count_repeat(KnownLine *known);
    KnownLine *find(int level, uint64_t hash);
    KnownLine *begin_line(int level, uint64_t hash, const LogText &body);
    void write_count(KnownLine *known);
    void fold(KnownLine *known, int64_t now);

    const Write write_;
    KnownLine known_[kKnownLines] = {};
    const KnownLine *last_ = nullptr; /* the last written line, or the line of the last written count */
};
