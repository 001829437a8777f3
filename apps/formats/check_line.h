/*
 * The comment line in which a store's file ends, and the lines of newer services that this one carries along:
 *
 *   #zndb format=1 generation=17 check=0123abcd    the last line; check: see below
 *   #zndb line TEXT                                a line TEXT that a service did not understand
 *
 * check is the CRC-32 of all bytes of the file before "check=", as eight hexadecimal digits. A restore of a
 * backup and older services skip these lines as comments. Pure; does not access files.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "formats/crc32.h"

/* The format that is written. */
inline constexpr uint32_t kStoreFormat = 1;

/* A longer line is no check line. */
inline constexpr size_t kCheckLineMax = 255;

struct CheckLine {
    uint32_t format = 0;
    uint64_t generation = 0; /* of the file: grows by one with each save */
    uint32_t check = 0;
    size_t covered = 0; /* the first bytes of the line that the check covers as well */
};

/* Whether a line, without its LF, begins like one of these lines. */
bool is_zndb_comment(std::string_view line);

/* The beginning of a check line. */
inline constexpr std::string_view kCheckLineBegin = "#zndb format=";

/* What the check line adds to a file at most, its LF included. */
inline constexpr size_t kCheckLineRoom =
    std::string_view("#zndb format=1 generation=18446744073709551615 check=0123abcd\n").size();

/* Whether it is a check line, or what is left of one. */
bool begins_check_line(std::string_view line);

/*
 * Reads a check line, without its LF. A newer format may have more fields before "check=".
 * read: receives it; unchanged on failure.
 * Returns false if it is none, or is damaged.
 */
bool read_check_line(std::string_view line, CheckLine &read);

/* Returns the check line of a file of this format, its LF included. before: all that stands before it. */
std::string check_line(uint64_t generation, const Crc32 &before);

/* The line that carries a line along: comments as they are, its LF not included. */
std::string carried_line(std::string_view line);

/* The text that a line carries, or the line itself if it carries none. */
std::string_view carried_text(std::string_view line);
