/*
 * The terminal that a tool prints to. A file or a pipe gets complete plain text.
 */
#pragma once

#include <cstddef>
#include <string>

enum class Stream {
    kOutput,
    kError
};
enum class Style {
    kPlain,
    kStrong,
    kFaint,
    kAlert,
    kWarning
};

bool is_terminal(Stream stream);

/* Whether it is a terminal that can be drawn on. */
bool is_screen(Stream stream);

/* The maximum characters of a line: the terminal's, or 80. Never below 20. */
size_t columns_of(Stream stream);

/* The maximum number of lines: the terminal's, or 24. Never below 5. */
size_t rows_of(Stream stream);

/* The text with a style, if the stream is a terminal with colours and NO_COLOR is not set. */
std::string styled(Stream stream, Style style, const std::string &text);

/*
 * The text, escaped for a terminal, since it may come from an untrusted source. Tools pass everything that
 * they print through one of these three functions, except constant texts.
 */
std::string shown_text(Stream stream, const std::string &text);

/* The same, but line feeds are kept. */
std::string shown_lines(Stream stream, const std::string &text);

/* The same for JSON, which stays JSON. */
std::string shown_json(Stream stream, const std::string &json);
