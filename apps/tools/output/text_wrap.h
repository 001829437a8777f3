/*
 * Text broken into lines. Pure.
 */
#pragma once

#include <cstddef>
#include <string>

/*
 * Breaks a text at blanks so that no line is longer than width, each line indented; a word that is longer
 * stands on a line of its own. Line ends of the text are kept. Every line ends with a line end.
 */
std::string wrapped(const std::string &text, size_t width, size_t indent);

/*
 * A name and what it means: side by side when there is room, else one below the other. name_width: columns of
 * the name, the indent of two blanks included.
 */
std::string wrapped_pair(const std::string &name, const std::string &meaning, size_t width,
                         size_t name_width);
