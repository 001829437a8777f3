/*
 * Reads and writes complete files for a tool. "-" means standard input or output if the function says so.
 */
#pragma once

#include <string>

/* The file name that means standard input or output. */
inline constexpr char kStandardStream[] = "-";

bool file_exists(const std::string &path);

/* Reads a file of at most 64 MiB, or standard input if path is "-". Returns "" or the problem. */
std::string read_text_file(const std::string &path, std::string *text);

/* The same for an open file. path: its name in error messages. */
std::string read_open_file(int fd, const std::string &path, std::string *text);

/*
 * Copies a regular file of any size to an open one. Returns "" or the problem.
 */
std::string copy_file(const std::string &from, int to);

/*
 * Writes a file that only its owner can read.
 *
 * A new file atomically replaces an existing one. So it belongs to the caller and has the mode 0600, whatever
 * mode the old file had, and whoever has the old file open can't read the new one. The caller must be allowed
 * to create files in the folder. Links are not followed: neither one with this name, nor one in the path that
 * another user could have created. A device is written to directly; text for a terminal is escaped. Anything
 * else, such as a pipe, which another user could read, is refused.
 *
 * Returns "" or the problem; the old file is then unchanged.
 */
std::string write_private_file(const std::string &path, const std::string &text);
