/*
 * A setting that holds several values in one text, taken apart and put together as modules do.
 */
#pragma once

#include <string>
#include <vector>

/* The items of a list, in order. An empty text is a list of no items. */
std::vector<std::string> split_list(const std::string &text);

/* The list of some items. */
std::string join_list(const std::vector<std::string> &items);
