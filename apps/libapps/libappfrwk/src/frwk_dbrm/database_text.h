/*
 * The text of a database file, line by line, as a restore sets it: key=value, comments that begin with '#'.
 *
 * Pure: takes the text apart in place, knows nothing of the database. Any thread.
 */
#pragma once

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
};

/*
 * Takes the next line that is no comment.
 *
 * at: where to begin in the text, which ends with a NUL; moved behind the line. Line ends and the first '='
 * of the line are overwritten with NUL.
 * line: receives its parts; unchanged at the end.
 */
Found next_line(char **at, Line *line);

}  // namespace database_text
