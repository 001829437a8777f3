/*
 * Spelling hints: finds the name with the smallest edit distance. Pure.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

/*
 * The edit distance of two texts: characters added, dropped, replaced, or swapped with their neighbours.
 * Ignores case.
 */
size_t edit_distance(std::string_view left, std::string_view right);

/* The nearest of the names, or "" if none is near: a third of the word's characters may differ, and
 * less than half of a short one's. */
std::string nearest_name(std::string_view word, const std::vector<std::string> &names);

/* "; did you mean 'NAME'?", or "" if no name is near. */
std::string did_you_mean(std::string_view word, const std::vector<std::string> &names);

/* "unknown KIND 'WORD'", and did_you_mean. */
std::string unknown_name(const std::string &kind, const std::string &word,
                         const std::vector<std::string> &names);

/* The same for a word out of a short list: if no name is near, all are listed. */
std::string unknown_choice(const std::string &kind, const std::string &word,
                           const std::vector<std::string> &names);
