/*
 * Parses the text of a database record line by line: key=value, and comments that begin with '#'. Also finds
 * the line at which a restore would stop, and the first one that it reads differently from the database.
 *
 * Pure: parses the text in place; uses only the database's length limits. Any thread.
 */
#pragma once

#include <cstddef>
#include <string_view>

namespace database_text {

/* The kinds of lines other than comments. */
enum class Found {
    kEnd,  /* the end of the text */
    kPair, /* a key and its value */
    kOther /* a line without '=' */
};

/* A parsed line; its parts are NUL-terminated and point into the text. */
struct Line {
    const char *key = "";   /* the complete line if it has no '=' */
    const char *value = ""; /* everything after the first '=' */
    unsigned number = 1;    /* line number, from 1; LF ends a line */
    unsigned next = 1;      /* number of the next line */
};

/*
 * Parses the next line that is not a comment.
 *
 * at: the position in the NUL-terminated text; moved past the line. Line ends and the first '='
 * of the line are overwritten with NUL.
 * line: receives the parts; key and value are unchanged at the end. Use the same object for all lines of a
 * text.
 */
Found next_line(char **at, Line *line);

/* The number of bytes before the last result of next_line, a line or the end. text: the beginning of the
 * text. */
size_t passed(const char *text, Found last, const char *at, const Line &line);

/* The place where a restore would stop before the end of the text. */
struct Stop {
    const char *reason = nullptr; /* null if it would not stop */
    unsigned line = 0;
    size_t bytes = 0; /* before that line */
};

/* text: length bytes and a NUL, parsed in place. */
Stop find_stop(char *text, size_t length);

/* The first line that the database and a restore read differently. */
struct Difference {
    const char *reason = nullptr; /* null if both read the same */
    unsigned line = 0;
};

/* Searches a text up to its first NUL. To a restore a CR ends a line, and blanks before a key don't count. */
Difference find_difference(std::string_view text);

/* What a restore of a text would not bring back, or bring back differently. */
struct Losses {
    Difference difference; /* empty if the restore would stop before it */
    Stop stop;
};

/* As find_stop. */
Losses find_losses(char *text, size_t length);

}  // namespace database_text
