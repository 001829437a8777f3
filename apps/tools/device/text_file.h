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

/* The same for a file that is open. path: how it is named. */
std::string read_open_file(int fd, const std::string &path, std::string *text);

/*
 * Copies a file of any size, but nothing else, to an open one. Returns "" or why it can't be read or copied.
 */
std::string copy_file(const std::string &from, int to);

/*
 * Writes a file that only its owner can read.
 *
 * A new file replaces the one that is there, if any, in one step. So it belongs to the caller and has the
 * mode 0600, whatever the old file had, and who holds the old file open reads nothing of the new one. It
 * needs a folder in which the caller may make files. Links are not followed: neither one of that name, nor
 * one on the way that another user could have put there. A device is written to as it is, a terminal with
 * everything spelt out that would act on it. Anything else, such as a pipe that somebody might listen to, is
 * refused.
 *
 * Returns "" or why the file can't be written; the old file is still there then.
 */
std::string write_private_file(const std::string &path, const std::string &text);
