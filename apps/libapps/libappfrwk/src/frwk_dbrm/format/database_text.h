/*
 * The text of a database file, line by line, as a restore sets it: key=value, comments that begin with '#';
 * and where a restore would stop.
 *
 * Pure: takes the text apart in place, knows of the database no more than the lengths that it takes. Any
 * thread.
 */
#pragma once

#include <cstddef>

namespace database_text {

/* What was found at the next line that is no comment. */
enum class Found {
    kEnd,  /* no line is left */
    kPair, /* a key and its value */
    kOther /* a line without '=' */
};

/* Parts of the text, each with its NUL. */
struct Line {
    const char *key = "";   /* of a line without '=': all of it */
    const char *value = ""; /* everything behind the first '=' */
    unsigned number = 1;    /* of the line, from 1; LF ends one */
    unsigned next = 1;      /* of the line behind it */
};

/*
 * Takes the next line that is no comment.
 *
 * at: where to begin in the text, which ends with a NUL; moved behind the line. Line ends and the first '='
 * of the line are overwritten with NUL.
 * line: receives its parts, of which those are unchanged at the end. The same one for all lines of a text.
 */
Found next_line(char **at, Line *line);

/* Bytes in front of what next_line found last, a line or the end. text: where it all began. */
size_t passed(const char *text, Found last, const char *at, const Line &line);

/* Where a restore would stop before it has set every line of a text. */
struct Stop {
    const char *reason = nullptr; /* why, in words; null when it would not */
    unsigned line = 0;
    size_t bytes = 0; /* in front of that line */
};

/* text: length bytes and a NUL, taken apart in place. */
Stop find_stop(char *text, size_t length);

}  // namespace database_text
