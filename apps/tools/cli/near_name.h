/*
 * The name that somebody probably meant: the one with the fewest edits. Pure.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

/*
 * Edits that turn one text into the other: a character added, dropped, replaced, or swapped with its
 * neighbour. Letters count as equal in upper and lower case.
 */
size_t edit_distance(std::string_view left, std::string_view right);

/* The nearest of the names, or "" when none is near: a third of the word's characters may differ. */
std::string nearest_name(std::string_view word, const std::vector<std::string> &names);

/* "; did you mean 'NAME'?", or "" when no name is near. */
std::string did_you_mean(std::string_view word, const std::vector<std::string> &names);

/* "unknown KIND 'WORD'", and did_you_mean. */
std::string unknown_name(const std::string &kind, const std::string &word,
                         const std::vector<std::string> &names);
