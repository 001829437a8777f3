/*
 * What a tool knows of the terminal it prints to. Anything else, a file or a pipe, gets plain text in full.
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

/* Characters that a line may have: the terminal's, or 80. Never below 20. */
size_t columns_of(Stream stream);

/* Lines that fit: the terminal's, or 24. Never below 5. */
size_t rows_of(Stream stream);

/* The text with a style around it, on a terminal that takes colours and unless NO_COLOR is set. */
std::string styled(Stream stream, Style style, const std::string &text);

/*
 * The text. For a terminal, everything that would act on it is spelt out, since the text may come from
 * anywhere. Whatever a tool prints passes one of these three, except texts of its own source.
 */
std::string shown_text(Stream stream, const std::string &text);

/* The same, but line feeds stay. */
std::string shown_lines(Stream stream, const std::string &text);

/* The same for JSON, which stays JSON. */
std::string shown_json(Stream stream, const std::string &json);
