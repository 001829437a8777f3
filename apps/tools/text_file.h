/*
 * Whole files, read and written for a tool. "-" stands for standard input or output where it is said so.
 */
#pragma once

#include <string>

/* The name that stands for standard input, or output. */
inline constexpr char kStandardStream[] = "-";

bool file_exists(const std::string &path);

/* Reads a file, or standard input when path is "-". Returns "" or why it can't be read. At most 64 MiB. */
std::string read_text_file(const std::string &path, std::string *text);

/*
 * Copies a file of any size, but nothing else, to an open one. Returns "" or why it can't be read or copied.
 */
std::string copy_file(const std::string &from, int to);

/*
 * Writes a file that only its owner can read. Returns "" or why it can't be written; a new file that could
 * not be written whole is removed.
 */
std::string write_private_file(const std::string &path, const std::string &text);
