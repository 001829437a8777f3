/*
 * Wraps text. Pure.
 */
#pragma once

#include <cstddef>
#include <string>

/*
 * Wraps a text at blanks so that no line is longer than width; indents each line. A longer word is cut. Line
 * ends of the text are kept. Every line ends with a line end.
 */
std::string wrapped(const std::string &text, size_t width, size_t indent);

/*
 * A name and its meaning: side by side if there is room, else one below the other. name_width: columns of
 * the name, including the indent of two blanks.
 */
std::string wrapped_pair(const std::string &name, const std::string &meaning, size_t width,
                         size_t name_width);

/*
 * Wraps a command line between its words, so that it can still be typed: each line but the last ends in a
 * backslash. A comment, which begins with '#', is continued as one. indent: of the first line.
 */
std::string wrapped_command(const std::string &line, size_t width, size_t indent);
