/*
 * The body of a message in the notations of the command line and of a tool's output. Pure.
 */
#pragma once

#include <cstddef>
#include <string>

/* Converts hexadecimal digits, optionally separated by blanks and colons. Returns "" or the problem. */
std::string bytes_from_hex(const std::string &digits, std::string *bytes);

/* Converts numbers separated by blanks or commas to 32-bit words in host byte order. Returns "" or the
 * problem. */
std::string bytes_from_numbers(const std::string &numbers, std::string *bytes);

/* The bytes in hexadecimal, without blanks. */
std::string hex_of(const std::string &bytes);

/* Lines of 16 bytes, or of as few as fit, with offset and characters; zeros at the end are only counted. */
std::string hex_dump(const std::string &bytes, size_t columns);

/* Whether the bytes are a text: UTF-8 without control characters, optionally followed by NULs. */
bool is_text(const std::string &bytes);

/* The bytes without the NULs at their end. */
std::string without_nuls(const std::string &bytes);

/* For one line: a text as it is, other bytes in hexadecimal; both are truncated if they are long. */
std::string body_line(const std::string &bytes);
