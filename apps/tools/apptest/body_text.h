/*
 * The body of a message, as somebody writes it on a command line and as a tool shows it. Pure.
 */
#pragma once

#include <cstddef>
#include <string>

/* Bytes of hexadecimal digits; blanks and colons may stand between them. Returns "" or what is wrong. */
std::string bytes_from_hex(const std::string &digits, std::string *bytes);

/* 32-bit words in host byte order, of numbers with blanks or commas between them. Returns "" or what is
 * wrong. */
std::string bytes_from_numbers(const std::string &numbers, std::string *bytes);

/* The bytes in hexadecimal, without blanks. */
std::string hex_of(const std::string &bytes);

/* Lines of 16 bytes each with its offset and its characters; zeros at the end are only counted. */
std::string hex_dump(const std::string &bytes);

/* Whether the bytes are a text: UTF-8 without control characters, and perhaps NULs at the end. */
bool is_text(const std::string &bytes);

/* The bytes without the NULs at their end. */
std::string without_nuls(const std::string &bytes);

/* For one line: the text where it is one, else the bytes in hexadecimal, both cut when they are long. */
std::string body_line(const std::string &bytes);
