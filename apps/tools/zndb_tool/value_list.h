/*
 * Splits and joins lists: settings with several values in one text.
 */
#pragma once

#include <string>
#include <vector>

/* The items of a list, in order. An empty text has no items. */
std::vector<std::string> split_list(const std::string &text);

/* Joins items to a list. */
std::string join_list(const std::vector<std::string> &items);
